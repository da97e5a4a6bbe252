# Every target of ours builds with warnings as errors; call this on each one.
# -Wshadow=local is gcc's alone: clang (Apple's included) rejects it as an unknown
# warning, which -Werror makes fatal. The portable code gets it from the Linux build.
function(parqueta_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Werror
    -Wnon-virtual-dtor -Woverloaded-virtual $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
    -Wno-error=deprecated-declarations)
endfunction()
