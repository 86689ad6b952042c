# The Debian packages, for CPack. script/package makes them.

set(SLICEWISE_DEBIAN_REVISION 1)
file(STRINGS "${PROJECT_SOURCE_DIR}/packaging/debian/changelog" newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^slicewise \\(${PROJECT_VERSION}-${SLICEWISE_DEBIAN_REVISION}\\) ")
    message(FATAL_ERROR "packaging/debian/changelog begins with \"${newest}\", "
        "not with version ${PROJECT_VERSION}-${SLICEWISE_DEBIAN_REVISION}")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME slicewise)
set(CPACK_PACKAGE_VENDOR "The Slicewise developers")
set(CPACK_PACKAGE_CONTACT "The Slicewise developers <maintainers@slicewise.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${SLICEWISE_DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The libraries are found by dpkg-shlibdeps. What is loaded by name at run time no tool finds: QML modules and plugins.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_CLI_PACKAGE_NAME slicewise-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CLI_PACKAGE_SUGGESTS "slicewise, jq")
set(CPACK_DEBIAN_CLI_DESCRIPTION "shows where the storage of a device went, on the terminal
Slicewise walks a whole file system, sorts every file by what it is for
rather than by where it lies (applications, packages, music, photos,
attachments of messages, logs, the operating system, ...), and adds the
sizes up through a tree.

It shows this machine's own disk, or the tree of a phone or tablet that
is mounted or unpacked in a folder, as a table with bars or as JSON; and
it deletes what it is told to: files, and packages by way of dpkg.")

set(CPACK_DEBIAN_WINDOW_PACKAGE_NAME slicewise)
set(CPACK_DEBIAN_WINDOW_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_WINDOW_PACKAGE_DEPENDS "slicewise-cli (= ${PROJECT_VERSION}-${SLICEWISE_DEBIAN_REVISION})\
, qml6-module-qtquick, qml6-module-qtquick-controls\
, qml6-module-qtquick-templates, qml6-module-qtquick-window, qml6-module-qtqml-workerscript")
# xdg-open hands a file on to the application that it belongs to.
set(CPACK_DEBIAN_WINDOW_PACKAGE_RECOMMENDS "qt6-image-formats-plugins, qt6-wayland, xdg-utils\
, fonts-inter, fonts-dejavu-core, fonts-droid-fallback, fonts-noto-color-emoji")
set(CPACK_DEBIAN_WINDOW_DESCRIPTION "shows where the storage of a device went, as a pie to touch
Slicewise walks a whole file system, sorts every file by what it is for
rather than by where it lies, and shows one level at a time as an
animated pie above a table. A tap on a slice or a row opens it; files can
be looked at, and deleted where their kind allows it.

It shows this machine's own disk, or the tree of a phone or tablet that
is mounted or unpacked in a folder; on a phone, a tablet or a desktop,
by finger, mouse or keyboard.")

include(CPack)
