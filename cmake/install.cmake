# Everything is installed in two trees: below any prefix, and as Debian's packages want it below /usr,
# where libraries lie in a folder per architecture. The second is for cpack only: its components are
# called debian_..., and a plain install leaves them out.
set(TRVIL_DEBIAN_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})

# trvil_install(COMPONENT DIRECTORY WHAT ... [MATCHING ...]): install(WHAT ... DESTINATION DIRECTORY) in
# both trees. LIBDIR at the beginning of DIRECTORY is where the tree has its libraries, @TREE@ in WHAT is
# "plain" or "debian". Components: lib, companion, raw, dev, tool, python.
function(trvil_install component directory)
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
