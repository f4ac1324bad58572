# Compiler and linker flags of every target: warnings, hardening, sanitizers.
set(TRVIL_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them (empty: none)")

add_library(trvil_flags INTERFACE)
target_compile_options(trvil_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wformat=2 -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<BOOL:${TRVIL_WERROR}>:-Werror>
  -fstack-protector-strong
  $<$<STREQUAL:${TRVIL_ARCHITECTURE},x86>:-fcf-protection=full>
  # The same bytes wherever the sources lie.
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)
target_include_directories(trvil_flags INTERFACE ${TRVIL_GENERATED})
target_link_options(trvil_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(TRVIL_SANITIZE)
  target_compile_options(trvil_flags INTERFACE -fsanitize=${TRVIL_SANITIZE} -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
  # Three quarters of the build of the programs around the libraries are optimisation, and checks of
  # what the address sanitizer or the processor finds anyway.
  target_compile_options(trvil_flags INTERFACE
    "$<$<BOOL:$<TARGET_PROPERTY:TRVIL_AROUND_LIBRARIES>>:-O1;-fno-sanitize=null,alignment,vptr,object-size>")
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # In instrumented code g++ 12 takes members of std::regex for uninitialized.
    target_compile_options(trvil_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_link_options(trvil_flags INTERFACE -fsanitize=${TRVIL_SANITIZE})
else()
  # A distribution's flags may ask for another degree.
  if(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS} $ENV{CPPFLAGS}" MATCHES "_FORTIFY_SOURCE")
    target_compile_options(trvil_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
  target_link_options(trvil_flags INTERFACE -Wl,--no-undefined)
endif()

# clang only: ends the program where unsigned arithmetic of the image rooms wraps.
option(TRVIL_CATCH_WRAPS "Catch unsigned wraps in image/ (clang)" OFF)
if(TRVIL_CATCH_WRAPS)
  set(TRVIL_IMAGE_CHECKS -fsanitize=unsigned-integer-overflow -fno-sanitize-recover=all
      -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/tests/image/wraps.list)
  target_link_options(trvil_flags INTERFACE -fsanitize=unsigned-integer-overflow)
endif()

# The two libraries: C++ without its run-time, so that libc is all they load.
add_library(trvil_core_flags INTERFACE)
target_link_libraries(trvil_core_flags INTERFACE trvil_flags)
target_compile_options(trvil_core_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fvisibility=hidden -ffunction-sections -fdata-sections)
target_include_directories(trvil_core_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)

# Counters in the libraries and not in their tests.
option(TRVIL_COVERAGE "Count what the tests reach of the libraries" OFF)
if(TRVIL_COVERAGE)
  target_compile_options(trvil_core_flags INTERFACE -O1 -g --coverage)
  target_link_options(trvil_flags INTERFACE --coverage)
endif()
