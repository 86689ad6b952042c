# The functions that every folder's CMakeLists.txt declares its targets with.
#
#   slicewise_library(<name> SOURCES ... [LINKS ...] [PRIVATE_LINKS ...])
#   slicewise_executable(<name> SOURCES ... [LINKS ...])
#   slicewise_test(<name> SOURCES ... [LINKS ...])
#   slicewise_fuzzer(<name> SOURCES ... [LINKS ...])
#   slicewise_qt_library(<name> SOURCES ... [LINKS ...] [PRIVATE_LINKS ...] [QML_URI ... [QML_FILES ...]])
#   slicewise_qt_executable(<name> SOURCES ... [LINKS ...] [QML_URI ... [QML_FILES ...]])
#   slicewise_qt_test(<name> SOURCES ... [LINKS ...])
#
# The last three only where SLICEWISE_BUILD_GUI is on. Their headers, named in SOURCES or beside a source of the same
# name, may hold Q_OBJECT; the sources themselves may not, since clang-tidy reads them before anything is generated.
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
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "QML_URI" "SOURCES;LINKS;PRIVATE_LINKS;QML_FILES")
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

# What Qt generates for a target is compiled with it, but its warnings are Qt's to mend.
function(slicewise_no_warnings_in_generated_sources name)
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp")
    get_target_property(sources ${name} SOURCES)
    foreach(source IN LISTS sources)
        if(source MATCHES "\\.cpp$" AND source MATCHES "^${PROJECT_BINARY_DIR}/")
            list(APPEND generated "${source}")
        endif()
    endforeach()
    set_source_files_properties(${generated} PROPERTIES COMPILE_OPTIONS -w)
    # Of a static library Qt compiles the QML files in a target of its own.
    if(TARGET ${name}_qmlcache)
        target_compile_options(${name}_qmlcache PRIVATE -w)
    endif()
endfunction()

# Meta-objects, and a QML module where QML_URI names one: the target's QML_ELEMENT types and QML_FILES.
#
# A module of a library lies in whatever program links it, without a plugin to load: nothing is read from a place that
# somebody else may write. A program has to call qml_register_types_<URI with _ for .>() once, or the linker takes the
# types of a static library for unused.
macro(slicewise_set_up_qt_target name)
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_compile_definitions(${name} PRIVATE
        QT_NO_KEYWORDS
        QT_NO_CAST_TO_ASCII
        QT_NO_FOREACH
        QT_DISABLE_DEPRECATED_BEFORE=0x060400)
    if(ARG_QML_URI)
        qt_add_qml_module(${name}
            URI "${ARG_QML_URI}"
            VERSION 1.0
            NO_PLUGIN
            # Whose C++ classes ours derive from; qmllint has to know.
            DEPENDENCIES QtQuick
            RESOURCE_PREFIX /qt-project.org/imports
            OUTPUT_TARGETS qml_objects
            QML_FILES ${ARG_QML_FILES})
        # The QML files as data and as code, in object libraries that a static library is linked with.
        foreach(object_library IN LISTS qml_objects)
            target_compile_options(${object_library} PRIVATE -w)
        endforeach()
        # Includes the registered headers by their bare names.
        target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
    endif()
    slicewise_no_warnings_in_generated_sources(${name})
endmacro()

function(slicewise_qt_library name)
    slicewise_library(${name} ${ARGN})
    slicewise_parse_target_arguments(${name} ${ARGN})
    slicewise_set_up_qt_target(${name})
endfunction()

function(slicewise_qt_executable name)
    slicewise_executable(${name} ${ARGN})
    slicewise_parse_target_arguments(${name} ${ARGN})
    slicewise_set_up_qt_target(${name})
endfunction()

# A GoogleTest program.
function(slicewise_test name)
    if(NOT SLICEWISE_BUILD_TESTS)
        return()
    endif()
    slicewise_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest GTest::gtest_main)
    slicewise_discover_tests(${name})
endfunction()

# A GoogleTest program whose main() is tests/support/QtTestMain.cpp: an application without a display, everything
# painted in software.
function(slicewise_qt_test name)
    if(NOT SLICEWISE_BUILD_TESTS)
        return()
    endif()
    slicewise_qt_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest slicewise_qt_test_main)
    slicewise_discover_tests(${name})
endfunction()

# The tests are listed when ctest starts, not when they are built: a build on another machine, or one whose programs
# need `setarch -R`, never has to run them.
function(slicewise_discover_tests name)
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
