# Run by cpack on the trees that become Debian's packages, before they do.

# Libraries lie where the loader looks anyway, so run paths go; so do sections that nobody reads.
file(GLOB_RECURSE binaries ${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/* ${CPACK_TEMPORARY_DIRECTORY}/*/usr/lib/*.so*
                       ${CPACK_TEMPORARY_DIRECTORY}/*/usr/libexec/trvil/*)
foreach(binary ${binaries})
  if(IS_SYMLINK ${binary})
    continue()
  endif()
  file(RPATH_REMOVE FILE ${binary})
  execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note ${binary}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# Manual pages and changelogs are compressed, and say nothing of the day they were.
file(GLOB changelogs ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog)
foreach(changelog ${changelogs})
  file(RENAME ${changelog} ${changelog}.Debian)
endforeach()
file(GLOB texts ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*
                ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog.Debian)
if(texts)
  execute_process(COMMAND gzip -9nf ${texts} COMMAND_ERROR_IS_FATAL ANY)
endif()

# What was not made leaves its folder behind.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -mindepth 2 -type d -empty -delete
                COMMAND_ERROR_IS_FATAL ANY)
