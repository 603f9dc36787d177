# What programs that load the library need: libraries and headers, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(CIMGATE_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/cimgate)
set(CIMGATE_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/cimgate)

install(TARGETS cimgate odata vexodlog qerm-utils cmpisfcc EXPORT cimgateTargets)
install(EXPORT cimgateTargets NAMESPACE cimgate:: DESTINATION ${CIMGATE_INSTALL_CMAKE})

# All headers in one directory; those of the platform libraries keep the folders they are included by.
set(CIMGATE_HEADER_DIRECTORIES include platform/odata/include platform/vexodlog/include
                               platform/qerm-utils/include)
if(TARGET cmpisfcc_objects)
    list(APPEND CIMGATE_HEADER_DIRECTORIES platform/cmpisfcc/include)
else()
    # The package finds the SFCC that it was built with by itself.
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/FindSFCC.cmake DESTINATION ${CIMGATE_INSTALL_CMAKE})
endif()
foreach(headers IN LISTS CIMGATE_HEADER_DIRECTORIES)
    install(DIRECTORY ${headers}/ DESTINATION ${CIMGATE_INSTALL_HEADERS} FILES_MATCHING PATTERN "*.h")
endforeach()

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/cimgateConfig.cmake.in ${CMAKE_BINARY_DIR}/cimgateConfig.cmake
    INSTALL_DESTINATION ${CIMGATE_INSTALL_CMAKE} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cimgateConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cimgateConfig.cmake ${CMAKE_BINARY_DIR}/cimgateConfigVersion.cmake
        DESTINATION ${CIMGATE_INSTALL_CMAKE})

# The prefix is found from the file's own place, so that an installed tree can be moved.
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR CIMGATE_LIBDIR_IS_ABSOLUTE)
if(CIMGATE_LIBDIR_IS_ABSOLUTE)
    set(CIMGATE_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
    set(CIMGATE_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
else()
    file(RELATIVE_PATH CIMGATE_PC_UP /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" CIMGATE_PC_UP "${CIMGATE_PC_UP}")
    set(CIMGATE_PC_PREFIX "\${pcfiledir}/${CIMGATE_PC_UP}")
    set(CIMGATE_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/cimgate.pc.in ${CMAKE_BINARY_DIR}/cimgate.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/cimgate.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
