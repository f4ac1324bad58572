# Run by cpack on the archive it made, whose files lie in the order of the file system's fancy, and
# whose folders have the modes of whoever ran it: neither is left in.
set(tree ${CPACK_TOPLEVEL_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME})
execute_process(COMMAND find ${tree} -mindepth 1 -type d -empty -delete COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND tar -c -C ${CPACK_TOPLEVEL_DIRECTORY} --sort=name --format=gnu --mode=u=rwX,go=rX --mtime=@$ENV{SOURCE_DATE_EPOCH}
          --owner=root:0 --group=root:0 ${CPACK_PACKAGE_FILE_NAME}
  COMMAND gzip -9n
  OUTPUT_FILE ${CPACK_PACKAGE_FILES} COMMAND_ERROR_IS_FATAL ANY)
