# Run by cpack on each Debian package it made. cpack writes scripts that call ldconfig, which the trigger
# of these packages does for all of a run together; so they are taken out again.
foreach(package ${CPACK_PACKAGE_FILES})
  set(tree ${CPACK_TOPLEVEL_DIRECTORY}/repack)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb -R ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  foreach(script postinst postrm)
    if(EXISTS ${tree}/DEBIAN/${script})
      file(STRINGS ${tree}/DEBIAN/${script} calls REGEX "ldconfig")
      if(calls)
        file(REMOVE ${tree}/DEBIAN/${script})
      endif()
    endif()
  endforeach()
  execute_process(COMMAND chmod -R u=rwX,go=rX ${tree} COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND dpkg-deb --root-owner-group --threads-max=1 -Zxz -b ${tree} ${package}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
