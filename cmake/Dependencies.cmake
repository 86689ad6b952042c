# Every library that Slicewise links, found here and nowhere else. script/setup installs the packages.
#
# Targets to link:
#   fmt::fmt                        text formatting
#   absl::flat_hash_map, ...        hash maps and ordered containers
#   CLI11::CLI11                    command line arguments
#   slicewise::rapidjson            streamed JSON
#   slicewise::utf8proc             Unicode: cell widths, normal forms
#   slicewise::plist                property lists
#   slicewise::sqlite3              SQLite
#   Threads::Threads                threads
#   Qt6::Pdf, Qt6::Multimedia       previews of such files, where they are installed
#   slicewise::uchardet             which encoding a text has
#   Qt6::Quick, Qt6::QuickControls2 the window, in builds with SLICEWISE_BUILD_GUI (slicewise_qt_library, ...)
#   Qt6::DBus                       the services of a desktop, there too
#   GTest::gtest_main, GTest::gmock tests (slicewise_test links them)
#   benchmark::benchmark            benchmarks
#
# Imported targets are SYSTEM: their headers never raise a warning of ours.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(absl REQUIRED)
find_package(CLI11 REQUIRED)

# Debian's package file names no target, and only says where the headers are.
find_package(RapidJSON REQUIRED)
add_library(slicewise_rapidjson INTERFACE IMPORTED)
target_include_directories(slicewise_rapidjson INTERFACE ${RAPIDJSON_INCLUDE_DIRS})
# Sizes are std::size_t's and texts std::string's, here as in the rest of the code.
target_compile_definitions(slicewise_rapidjson INTERFACE RAPIDJSON_HAS_STDSTRING=1)
add_library(slicewise::rapidjson ALIAS slicewise_rapidjson)

find_package(PkgConfig REQUIRED)
pkg_check_modules(UTF8PROC REQUIRED IMPORTED_TARGET GLOBAL libutf8proc)
add_library(slicewise::utf8proc ALIAS PkgConfig::UTF8PROC)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET GLOBAL libplist-2.0)
add_library(slicewise::plist ALIAS PkgConfig::PLIST)
pkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET GLOBAL sqlite3)
add_library(slicewise::sqlite3 ALIAS PkgConfig::SQLITE3)

if(SLICEWISE_BUILD_GUI)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus Gui Qml Quick QuickControls2)
    # Without them files of these kinds are shown as bytes.
    find_package(Qt6Pdf 6.4 QUIET)
    find_package(Qt6Multimedia 6.4 QUIET)
    pkg_check_modules(UCHARDET REQUIRED IMPORTED_TARGET GLOBAL uchardet)
    add_library(slicewise::uchardet ALIAS PkgConfig::UCHARDET)
    if(SLICEWISE_BUILD_TESTS)
        find_package(Qt6 6.4 REQUIRED COMPONENTS Test QuickTest)
    endif()
    # Modules that are built lie where script/check and the programs of the build find them, one below the other.
    set(QT_QML_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/qml")
endif()
if(SLICEWISE_BUILD_TESTS OR SLICEWISE_BUILD_FUZZERS)
    find_package(GTest REQUIRED)
endif()
if(SLICEWISE_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
