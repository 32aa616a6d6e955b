# The installed package: find_package(VelmoraCommon) gives the target Velmora::Common.
include(CMakePackageConfigHelpers)

install(TARGETS VelmoraCommon EXPORT VelmoraCommonTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${VELMORA_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT VelmoraCommonTargets NAMESPACE Velmora::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraCommon)

configure_package_config_file(cmake/VelmoraCommonConfig.cmake.in
    ${PROJECT_BINARY_DIR}/VelmoraCommonConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraCommon)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraCommonConfigVersion.cmake
    COMPATIBILITY SameMajorVersion
    ARCH_INDEPENDENT) # the package itself says in words what is wrong with a client's width
install(FILES
    ${PROJECT_BINARY_DIR}/VelmoraCommonConfig.cmake
    ${PROJECT_BINARY_DIR}/VelmoraCommonConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraCommon)

# For builds without CMake.
configure_file(cmake/velmora-common.pc.in ${PROJECT_BINARY_DIR}/velmora-common.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velmora-common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
