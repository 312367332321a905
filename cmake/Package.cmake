# The CMake package: find_package(hal_filters_ll_bcm) from an install prefix.
include(CMakePackageConfigHelpers)

set(HAL_FILTERS_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/hal_filters_ll_bcm)

install(EXPORT hal_filters_ll_bcmTargets
        NAMESPACE hal_filters_ll_bcm::
        DESTINATION ${HAL_FILTERS_CMAKE_DIR})

configure_package_config_file(cmake/hal_filters_ll_bcmConfig.cmake.in
                              ${CMAKE_CURRENT_BINARY_DIR}/hal_filters_ll_bcmConfig.cmake
                              INSTALL_DESTINATION ${HAL_FILTERS_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/hal_filters_ll_bcmConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/hal_filters_ll_bcmConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/hal_filters_ll_bcmConfigVersion.cmake
        DESTINATION ${HAL_FILTERS_CMAKE_DIR})
