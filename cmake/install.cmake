# Everything is installed in two trees: below any prefix, and as Debian's packages want it below /usr,
# where libraries lie in a folder per architecture. The second is for cpack only: its components are
# called debian_..., and a plain install leaves them out.
set(TRVIL_DEBIAN_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})

# trvil_install(COMPONENT DIRECTORY WHAT ... [MATCHING ...]): install(WHAT ... DESTINATION DIRECTORY) in
# both trees. LIBDIR at the beginning of DIRECTORY is where the tree has its libraries, @TREE@ in WHAT is
# "plain" or "debian". Components: lib, companion, raw, dev, tool, grab, python, gstreamer.
function(trvil_install component directory)
  if(NOT TRVIL_INSTALL)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" MATCHING)
  if(arg_MATCHING)
    list(PREPEND arg_MATCHING FILES_MATCHING)
  endif()
  string(REPLACE "@TREE@" plain what "${arg_UNPARSED_ARGUMENTS}")
  string(REGEX REPLACE "^LIBDIR" "${CMAKE_INSTALL_LIBDIR}" plain ${directory})
  install(${what} DESTINATION ${plain} COMPONENT ${component} ${arg_MATCHING})
  string(REPLACE "@TREE@" debian what "${arg_UNPARSED_ARGUMENTS}")
  string(REGEX REPLACE "^LIBDIR" "${TRVIL_DEBIAN_LIBDIR}" debian ${directory})
  install(${what} DESTINATION ${debian} COMPONENT debian_${component} EXCLUDE_FROM_ALL ${arg_MATCHING})
endfunction()

# A library with its headers, which belong to the component dev.
function(trvil_install_library name component)
  if(NOT TRVIL_INSTALL)
    return()
  endif()
  install(TARGETS ${name} EXPORT plain
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_SKIP
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
  install(TARGETS ${name} EXPORT debian
    LIBRARY DESTINATION ${TRVIL_DEBIAN_LIBDIR} COMPONENT debian_${component} EXCLUDE_FROM_ALL NAMELINK_SKIP
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT debian_dev EXCLUDE_FROM_ALL)
endfunction()
