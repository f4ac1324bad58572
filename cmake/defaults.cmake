# The optimisation that a release build begins with; flags that a user says take its place. -O3 blows the
# plain loops up to no gain: what must be fast is written as vector code.
set(CMAKE_CXX_FLAGS_RELEASE_INIT "-O2 -DNDEBUG")
