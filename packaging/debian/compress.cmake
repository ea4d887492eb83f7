# Compresses what Debian wants compressed, in the tree that CPack is about to pack; without names and times, so that
# the same input gives the same package.
file(GLOB_RECURSE documents ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/*.[0-9]
     ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/changelog)
if(documents)
    execute_process(COMMAND gzip -9nf ${documents} COMMAND_ERROR_IS_FATAL ANY)
endif()
