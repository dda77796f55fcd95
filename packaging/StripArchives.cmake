# Run by CPack over what goes into the packages: it strips programs and shared libraries by itself, but no archives.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
if(archives)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${archives} COMMAND_ERROR_IS_FATAL ANY)
endif()
