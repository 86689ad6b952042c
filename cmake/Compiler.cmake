# Language, warnings, sanitizers, link-time optimisation and the compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(slicewise_is_gcc $<CXX_COMPILER_ID:GNU>)
set(slicewise_is_clang $<CXX_COMPILER_ID:Clang>)

# Only RelWithDebInfo keeps assert() and the checks of the standard library: it is what is developed and tested with.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g -fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS")

# Warnings. Linked privately by every target of ours, so that they stop at our own sources.
add_library(slicewise_warnings INTERFACE)
target_compile_options(slicewise_warnings INTERFACE
    -Wall
    -Wextra
    -Wpedantic
    -Wcast-align
    -Wcast-qual
    -Wconversion
    -Wdouble-promotion
    -Wextra-semi
    -Wformat=2
    -Wimplicit-fallthrough
    -Wmissing-declarations
    -Wnon-virtual-dtor
    -Wold-style-cast
    -Woverloaded-virtual
    -Wshadow
    -Wsign-conversion
    -Wunused
    $<${slicewise_is_gcc}:-Wduplicated-cond>
    $<${slicewise_is_gcc}:-Wlogical-op>
    # GCC 12 sees an overlap in std::string's operator+ that is not there.
    $<${slicewise_is_gcc}:-Wno-restrict>)
if(SLICEWISE_WERROR)
    target_compile_options(slicewise_warnings INTERFACE -Werror)
endif()
if(SLICEWISE_SANITIZE)
    # The instrumentation hides from GCC that a value has been set.
    target_compile_options(slicewise_warnings INTERFACE $<${slicewise_is_gcc}:-Wno-maybe-uninitialized>)
endif()

# Sanitizers. Everything in the build has to agree on them, so these are no interface target.
if(SLICEWISE_SANITIZE)
    add_compile_options(-fsanitize=${SLICEWISE_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SLICEWISE_SANITIZE} -fno-sanitize-recover=all)
endif()
if(SLICEWISE_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "SLICEWISE_BUILD_FUZZERS needs Clang: libFuzzer is part of it")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(SLICEWISE_LTO)
    include(CheckIPOSupported)
    check_ipo_supported(RESULT slicewise_lto_works OUTPUT slicewise_lto_reason LANGUAGES CXX)
    if(slicewise_lto_works)
        set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
    else()
        message(STATUS "Building without link-time optimisation, this toolchain cannot: ${slicewise_lto_reason}")
    endif()
endif()

find_program(SLICEWISE_CCACHE ccache)
mark_as_advanced(SLICEWISE_CCACHE)
if(SLICEWISE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${SLICEWISE_CCACHE}")
endif()
