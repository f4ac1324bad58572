# cpack -G DEB makes Debian's packages, cpack -G TGZ a tree to unpack anywhere.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME trvil)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_FILE_NAME trvil-${PROJECT_VERSION}-x86_64-linux)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/each_generator.cmake)
set(CPACK_TRVIL_SCRIPTS ${CMAKE_CURRENT_LIST_DIR})

# The changelog says which version this is and when it was made: every file of a package bears that time.
set(changelog ${CMAKE_CURRENT_LIST_DIR}/debian/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
file(STRINGS ${changelog} entry REGEX "^trvil \\(|^ -- " LIMIT_COUNT 2)
if(NOT entry MATCHES "^trvil \\(${PROJECT_VERSION}-([0-9]+)\\).* -- ([^>]*>)  (.*)$")
  message(FATAL_ERROR "packaging/debian/changelog does not begin with an entry of version "
                      "${PROJECT_VERSION}-1: add one (dch -v ${PROJECT_VERSION}-1 -c ${changelog})")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CMAKE_MATCH_2})
execute_process(COMMAND date -u -d ${CMAKE_MATCH_3} +%s OUTPUT_VARIABLE CPACK_TRVIL_EPOCH
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE trvil)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The libraries of this tree are in no package yet; what depends on them says so itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# debian_package(COMPONENT NAME SECTION DEPENDS DESCRIPTION): depends on DEPENDS and on what dpkg-shlibdeps
# finds. DESCRIPTION is one line, then paragraphs; files of debian/NAME other than overrides become
# control files.
macro(debian_package component name section depends description)
  string(TOUPPER debian_${component} id)
  list(APPEND CPACK_TRVIL_DEBIAN_COMPONENTS debian_${component})
  set(CPACK_DEBIAN_${id}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${id}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${id}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${id}_DESCRIPTION "${description}")
  file(GLOB CPACK_DEBIAN_${id}_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/${name}/*)
  list(FILTER CPACK_DEBIAN_${id}_PACKAGE_CONTROL_EXTRA EXCLUDE REGEX "/(overrides|symbols\\.in)$")
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${changelog}
          DESTINATION share/doc/${name} COMPONENT debian_${component} EXCLUDE_FROM_ALL)
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/${name}/overrides OPTIONAL RENAME ${name}
          DESTINATION share/lintian/overrides COMPONENT debian_${component} EXCLUDE_FROM_ALL)
endmacro()

# The exported kernels have all been there from the first version.
list(TRANSFORM TRVIL_KERNELS APPEND "@Base 0.1.0" OUTPUT_VARIABLE kernel_symbols)
list(JOIN kernel_symbols "\n " TRVIL_KERNEL_SYMBOLS)
set(symbols ${CMAKE_CURRENT_BINARY_DIR}/debian/libtrvil/symbols)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/libtrvil/symbols.in ${symbols} @ONLY)

set(buffers "libtrvbl (= ${version}) | trvil-buffer-library")

debian_package(lib libtrvil libs "libtrvbl (>= ${PROJECT_VERSION}) | trvil-buffer-library"
"image processing for frame grabbers and cameras
Converts pictures among 74 pixel formats, demosaics raw sensor data, makes
frames of the fields of interlaced pictures and writes TIFF and raw files.
.
This package has the shared library libtrvilx64.so.")
list(APPEND CPACK_DEBIAN_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${symbols})

debian_package(companion libtrvbl libs ""
"buffers for trvil's image processing
Names pictures in memory for the library in libtrvil: where they lie, how
large they are and how their pixels are stored.
.
Another package may take the place of this one: it has a libtrvblx64.so that
answers TBL_BufferParameterGet, provides trvil-buffer-library, and conflicts
with and replaces libtrvbl.")
set(CPACK_DEBIAN_DEBIAN_COMPANION_PACKAGE_PROVIDES trvil-buffer-library)

debian_package(raw libtrvraw0 libs "libtrvbl (>= ${PROJECT_VERSION}) | trvil-buffer-library"
"image processing for frame grabbers and cameras - packings of cameras
Unpacks what cameras send, of GigE Vision, USB3 Vision, CoaXPress and MIPI
CSI-2 among others, into the pixel formats of libtrvil.
.
This package has the shared library libtrvraw.so.0.")

debian_package(dev libtrvil-dev libdevel
"libtrvil (= ${version}), libtrvraw0 (= ${version}), ${buffers}, libc6-dev"
"image processing for frame grabbers and cameras - development files
Headers for C and C++, also for handing pictures to and from OpenCV and
taking them from Aravis, and files that tell CMake and pkg-config how to
link.")
set(CPACK_DEBIAN_DEBIAN_DEV_PACKAGE_SUGGESTS "libopencv-core-dev, libaravis-dev")

if(TARGET trvil_tool)
  debian_package(tool trvil graphics "libtrvil (>= ${PROJECT_VERSION}), libtrvbl (>= ${PROJECT_VERSION}), libtrvraw0 (>= ${PROJECT_VERSION})"
"turn raw dumps of cameras and frame grabbers into pictures
Converts dumps of 74 pixel formats to PNG, TIFF, PPM or PGM, with white
balance and stretch; finds out the phase of a mosaic; makes frames of the
fields of interlaced pictures.")
endif()

if(TARGET trvil_grab)
  set(CPACK_DEBIAN_DEBIAN_TOOL_PACKAGE_SUGGESTS trvil-grab)
  debian_package(grab trvil-grab graphics "trvil (>= ${PROJECT_VERSION}), libtrvil (>= ${PROJECT_VERSION}), libtrvbl (>= ${PROJECT_VERSION}), libtrvraw0 (>= ${PROJECT_VERSION})"
"turn frames of GenICam cameras into pictures and video
Adds the command grab to trvil: takes frames of GigE Vision and USB3 Vision
cameras by Aravis, in every pixel format that trvil reads, and converts them
to picture files or streams.")
endif()

if(TARGET trvil_python)
  debian_package(python python3-trvil python "python3:any, python3-numpy, libtrvil (>= ${PROJECT_VERSION}), libtrvbl (>= ${PROJECT_VERSION}), libtrvraw0 (>= ${PROJECT_VERSION})"
"image processing for frame grabbers and cameras - Python module
Makes the conversions, demosaicing and file writers of libtrvil available to
Python, for NumPy arrays too.")
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
endif()

if(TARGET trvil_gstreamer)
  debian_package(gstreamer gstreamer1.0-trvil libs "libtrvil (>= ${PROJECT_VERSION}), libtrvbl (>= ${PROJECT_VERSION}), libtrvraw0 (>= ${PROJECT_VERSION})"
"image processing for frame grabbers and cameras - GStreamer elements
trvilbayer makes pictures of a camera's mosaics, of 8 to 16 bits, packed or
not; trvildeinterlace makes frames of the fields of interlaced ones.")
endif()

# The tree to unpack anywhere says the same about its licence.
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT lib)

include(CPack)
