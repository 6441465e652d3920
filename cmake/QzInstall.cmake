# What `cmake --install` lays down: the headers as one tree, the library, the CMake package and the pkg-config file.

include(CMakePackageConfigHelpers)

# The library and what hosts build with is the component "development"; the programs under apps/ are "programs".
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

install(TARGETS qzlib EXPORT qzlib
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The headers that <qzlib.h> leads to, and no others: what hosts cannot include they do not come to rely on.
set(qz_headers qzlib.h)
set(qz_headers_left ${qz_headers})
while(qz_headers_left)
    list(POP_FRONT qz_headers_left header)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/code/${header})
    file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/code/${header} lines REGEX "^#include \"")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" included "${line}")
        if(NOT included IN_LIST qz_headers)
            list(APPEND qz_headers ${included})
            list(APPEND qz_headers_left ${included})
        endif()
    endforeach()
endwhile()
foreach(header IN LISTS qz_headers)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/code/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qzlib/${folder})
endforeach()
install(EXPORT qzlib NAMESPACE qzlib:: FILE qzlibTargets.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qzlib)

configure_package_config_file(${CMAKE_CURRENT_SOURCE_DIR}/cmake/qzlibConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/qzlibConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qzlib)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/qzlibConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qzlibConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/qzlibConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qzlib)

# The prefix is found from where the file lies, so that an installed tree may be moved.
file(RELATIVE_PATH QZLIB_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_SOURCE_DIR}/cmake/qzlib.pc.in ${CMAKE_CURRENT_BINARY_DIR}/qzlib.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qzlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
