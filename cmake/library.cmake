# How the shared libraries are made: $ORIGIN run path, a version script, and an unversioned SONAME unless
# VERSION and SOVERSION say otherwise; the link to a versioned library belongs to the component dev. The
# property TRVIL_EXPORT_MAP of the target is the version script. HEADERS are its own of include/trvil; others
# know the library as trvil::EXPORT_NAME, in this tree as after installing.
function(trvil_shared_library name)
  cmake_parse_arguments(arg "" "EXPORTS;COMPONENT;EXPORT_NAME;VERSION;SOVERSION" "SOURCES;HEADERS" ${ARGN})
  add_library(${name} SHARED ${arg_SOURCES})
  add_library(trvil::${arg_EXPORT_NAME} ALIAS ${name})
  set(suffix x64)
  if(arg_VERSION)
    set(suffix "")
    set_target_properties(${name} PROPERTIES VERSION ${arg_VERSION} SOVERSION ${arg_SOVERSION})
    set(link_of_dev LIBRARY NAMELINK_ONLY)
  endif()
  # No C++ run-time: the C driver links, and CMake adds no libstdc++ of its own accord.
  set_target_properties(${name} PROPERTIES
    OUTPUT_NAME ${name}${suffix}
    EXPORT_NAME ${arg_EXPORT_NAME}
    LINKER_LANGUAGE C
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN"
    LINK_DEPENDS ${arg_EXPORTS} TRVIL_EXPORT_MAP ${arg_EXPORTS})
  target_link_libraries(${name} PRIVATE trvil_core_flags)
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${arg_EXPORTS} -Wl,--enable-new-dtags -Wl,--gc-sections)
  list(TRANSFORM arg_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/include/trvil/)
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/include FILES ${arg_HEADERS})
  if(link_of_dev)
    trvil_install(dev LIBDIR TARGETS ${name} ${link_of_dev})
  endif()
  trvil_install_library(${name} ${arg_COMPONENT})
endfunction()
