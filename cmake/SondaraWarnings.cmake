# Warnings are errors in our own targets only; Qt and GoogleTest headers come in as system headers.
function(sondara_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wsign-compare -Wimplicit-fallthrough
    -Wnon-virtual-dtor -Wold-style-cast)
endfunction()
