# Every target of ours builds with warnings as errors; call this on each one.
function(parqueta_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Werror
    -Wnon-virtual-dtor -Woverloaded-virtual -Wshadow=local
    -Wno-error=deprecated-declarations)
endfunction()
