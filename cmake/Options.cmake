# What a build may switch on and off. CMakePresets.json holds the combinations that are kept working.

option(SLICEWISE_BUILD_GUI "Build the touch application; off, nothing needs Qt" ON)
option(SLICEWISE_BUILD_TESTS "Build the test programs" ON)
option(SLICEWISE_BUILD_BENCH "Build the benchmarks" OFF)
option(SLICEWISE_BUILD_FUZZERS "Build the fuzzers (Clang only)" OFF)
option(SLICEWISE_WERROR "Treat compiler warnings as errors" OFF)
option(SLICEWISE_LTO "Optimise across translation units, where the toolchain can" OFF)

set(SLICEWISE_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, \"address,undefined\" or \"thread\"")
set_property(CACHE SLICEWISE_SANITIZE PROPERTY STRINGS "" "address,undefined" "thread")

set(SLICEWISE_TEST_TIMEOUT 120 CACHE STRING "Seconds that one test may take")

if(NOT SLICEWISE_SANITIZE MATCHES "^(|address,undefined|thread)$")
    message(FATAL_ERROR "SLICEWISE_SANITIZE is \"${SLICEWISE_SANITIZE}\": "
        "it may be empty, \"address,undefined\" or \"thread\"")
endif()
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Kind of build" FORCE)
endif()
