# The instruction-set levels: the inner loops are compiled once for each of them.
#
# An architecture lists its vector levels in rising order: trvil_level(NAME FLAGS...). Level NAME has its
# vector operations in image/simd/ARCHITECTURE/NAME.h and says in image/simd/ARCHITECTURE/machine.cpp whether
# a processor runs it. What is too short for its vectors goes to the level before it, in the end to
# `scalar`: the plain rules, which every architecture runs and which have no header.
set(levels scalar)
macro(trvil_level name)
  list(APPEND levels ${name})
  set(TRVIL_LEVEL_FLAGS_${name} ${ARGN})
endmacro()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64)$")
  set(TRVIL_ARCHITECTURE x86)
  # The level of older machines gives speed away for size.
  trvil_level(v2 -march=x86-64-v2 $<$<CONFIG:Release>:-Os>)
  trvil_level(v3 -march=x86-64-v3)
  trvil_level(v4 -march=x86-64-v4 -mavx512vbmi -mavx512vbmi2)
endif()

set(TRVIL_LEVELS "${levels}" CACHE STRING "Instruction-set levels to build, in rising order, scalar first")
list(GET TRVIL_LEVELS 0 lowest)
foreach(level ${TRVIL_LEVELS})
  if(NOT lowest STREQUAL scalar OR NOT level IN_LIST levels)
    message(FATAL_ERROR "TRVIL_LEVELS is \"${TRVIL_LEVELS}\": it begins with scalar and has only levels of "
                        "\"${levels}\" for ${CMAKE_SYSTEM_PROCESSOR}. Correct it, then configure again.")
  endif()
endforeach()

# Says which levels the processor runs, relative to image/.
set(TRVIL_MACHINE_SOURCES simd/levels.cpp)
if(NOT TRVIL_LEVELS STREQUAL scalar)
  list(APPEND TRVIL_MACHINE_SOURCES simd/${TRVIL_ARCHITECTURE}/machine.cpp)
endif()

# What C++ needs of the list: one row per level, in their order.
set(TRVIL_GENERATED ${PROJECT_BINARY_DIR}/generated)
list(TRANSFORM TRVIL_LEVELS REPLACE "(.+)" "TRV_LEVEL_ROW(\\1)" OUTPUT_VARIABLE rows)
list(JOIN rows "\n" rows)
file(CONFIGURE OUTPUT ${TRVIL_GENERATED}/image/simd/levels.inc @ONLY CONTENT
"// Written by cmake/levels.cmake. Define TRV_LEVEL_ROW(level), include, done: it is undefined at the end.
@rows@
#undef TRV_LEVEL_ROW
")

# trvil_level_objects(PREFIX SOURCES... FLAGS...): the sources compiled once per level, as object libraries
# PREFIX_LEVEL. A source finds its level's namespace in TRV_LEVEL, the next lower one in TRV_FALLBACK and the
# header of its vector operations in TRV_VECTORS; level scalar has neither of the last two.
function(trvil_level_objects prefix)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;FLAGS")
  set(fallback "")
  foreach(level ${TRVIL_LEVELS})
    set(target ${prefix}_${level})
    add_library(${target} OBJECT ${arg_SOURCES})
    target_link_libraries(${target} PRIVATE trvil_core_flags)
    target_compile_definitions(${target} PRIVATE TRV_LEVEL=${level})
    if(fallback)
      target_compile_definitions(${target} PRIVATE TRV_FALLBACK=${fallback}
        TRV_VECTORS="image/simd/${TRVIL_ARCHITECTURE}/${level}.h")
    endif()
    target_compile_options(${target} PRIVATE ${TRVIL_LEVEL_FLAGS_${level}} ${arg_FLAGS})
    set(fallback ${level})
  endforeach()
endfunction()
