# Warnings are errors in our own builds only (the test command turns SONDARA_WERROR on): a newer
# or older compiler's new warning must not stop a user's or a packager's build. Qt and GoogleTest
# headers come in as system headers.
option(SONDARA_WERROR "Treat warnings in the project's own targets as errors" OFF)

function(sondara_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wsign-compare -Wimplicit-fallthrough
    -Wnon-virtual-dtor -Wold-style-cast)
  if(SONDARA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
