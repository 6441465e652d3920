# What `cpack` makes of an installation: a Debian package of the library with its headers and tools on Linux, a zip of
# the DLL with its import library and headers for Windows. scripts/package calls it.

set(CPACK_PACKAGE_NAME qzlib)
set(CPACK_PACKAGE_VENDOR "qzlib developers")
set(CPACK_PACKAGE_CONTACT "qzlib developers <qzlib@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Class library for instrument hosts: an embedded database with time travel in one file, an HTTP
server and client, JSON, a software graphics toolkit, serial devices, threads, tasks, files and logs.")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
# One package with everything: library, headers and tools.
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL development programs)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
    set(CPACK_PACKAGE_FILE_NAME qzlib-${PROJECT_VERSION}-win64)
else()
    set(CPACK_GENERATOR DEB)
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
include(CPack)
