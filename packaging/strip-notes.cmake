# Run by CPack on the staged tree before packing: strip leaves the compiler's .comment
# and .note sections, which a user's machine never reads.
file(GLOB executables "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/bin/*")
foreach(executable IN LISTS executables)
  execute_process(COMMAND strip --remove-section=.comment --remove-section=.note "${executable}"
    RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "strip could not clean ${executable}")
  endif()
endforeach()
