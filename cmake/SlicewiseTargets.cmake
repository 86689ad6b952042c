# The functions that every folder's CMakeLists.txt declares its targets with.
#
#   slicewise_library(<name> SOURCES ... [LINKS ...] [PRIVATE_LINKS ...])
#   slicewise_executable(<name> SOURCES ... [LINKS ...])
#   slicewise_test(<name> SOURCES ... [LINKS ...])
#   slicewise_fuzzer(<name> SOURCES ... [LINKS ...])
#
# LINKS of a library reach whoever links it, PRIVATE_LINKS do not. Headers are included from the root of the
# repository, with their folder: #include "scan/SZANode.h".

include(GoogleTest)

# Adds a folder of the repository once it has something to build.
function(slicewise_add_folder folder)
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt")
        add_subdirectory(${folder})
    endif()
endfunction()

# What all four have in common: their arguments, left in the caller's scope as ARG_SOURCES and so on.
macro(slicewise_parse_target_arguments name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS")
    if(ARG_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "${name}: unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT ARG_SOURCES)
        message(FATAL_ERROR "${name}: no SOURCES")
    endif()
endmacro()

function(slicewise_set_up_target name)
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
    target_link_libraries(${name} PRIVATE slicewise_warnings)
endfunction()

function(slicewise_library name)
    slicewise_parse_target_arguments(${name} ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    slicewise_set_up_target(${name})
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()

function(slicewise_executable name)
    slicewise_parse_target_arguments(${name} ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    slicewise_set_up_target(${name})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} ${ARG_PRIVATE_LINKS})
endfunction()

# A GoogleTest program. Its tests are listed when ctest starts, not when it is built: a build on another machine, or
# one whose programs need `setarch -R`, never has to run them.
function(slicewise_test name)
    if(NOT SLICEWISE_BUILD_TESTS)
        return()
    endif()
    slicewise_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${name}
        TEST_PREFIX "${name}."
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${SLICEWISE_TEST_TIMEOUT})
endfunction()

# A libFuzzer program, <build>/tests/fuzz/<name>; script/check runs each with the corpus tests/fuzz/corpus/<name>.
function(slicewise_fuzzer name)
    if(NOT SLICEWISE_BUILD_FUZZERS)
        return()
    endif()
    slicewise_executable(${name} ${ARGN})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    set_property(GLOBAL APPEND PROPERTY SLICEWISE_FUZZERS ${name})
endfunction()
