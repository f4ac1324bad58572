# trvil::til is libtrvilx64.so, trvil::tbl its companion libtrvblx64.so, trvil::raw libtrvraw.so. A program
# that answers TBL_BufferParameterGet itself leaves the second out.
include("${CMAKE_CURRENT_LIST_DIR}/trvilTargets.cmake")

# The libraries are the whole package: there are no optional parts to ask for.
foreach(component IN LISTS trvil_FIND_COMPONENTS)
  set(trvil_${component}_FOUND FALSE)
  if(trvil_FIND_REQUIRED_${component})
    set(trvil_FOUND FALSE)
    set(trvil_NOT_FOUND_MESSAGE "trvil has no components; link trvil::til, trvil::tbl and trvil::raw")
  endif()
endforeach()
