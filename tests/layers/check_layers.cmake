# Proves the layer boundaries hold: an include that runs the wrong way does not compile, the
# same include from a layer that may use it does, and no file outside the window files names a
# Qt header.
#   cmake -DCXX=<compiler> -DLAYERS=<layer include roots> -DSOURCE=<src folder> -DPROBE=<file> -P
foreach(layer snmp logs net)
  execute_process(
    COMMAND ${CXX} -std=c++20 -fsyntax-only -I${LAYERS}/${layer} ${PROBE}
    RESULT_VARIABLE refused ERROR_VARIABLE why OUTPUT_QUIET)
  if(refused EQUAL 0 OR NOT why MATCHES "app/settings.h: No such file")
    message(FATAL_ERROR "the ${layer} layer can include app/settings.h:\n${why}")
  endif()
endforeach()

execute_process(
  COMMAND ${CXX} -std=c++20 -fsyntax-only -I${LAYERS}/pages ${PROBE}
  RESULT_VARIABLE allowed ERROR_VARIABLE why OUTPUT_QUIET)
if(NOT allowed EQUAL 0)
  message(FATAL_ERROR "the pages layer cannot include app/settings.h:\n${why}")
endif()

file(GLOB_RECURSE files RELATIVE ${SOURCE} ${SOURCE}/*.h ${SOURCE}/*.cpp)
foreach(file ${files})
  if(file MATCHES "(_view|_page|_dialog|_wnd|_edit)\\.(h|cpp)$" OR file STREQUAL "main.cpp")
    continue()
  endif()
  file(STRINGS ${SOURCE}/${file} qt REGEX "^#include <Q")
  if(qt)
    message(FATAL_ERROR "${file} is not a window file but includes Qt: ${qt}")
  endif()
endforeach()
