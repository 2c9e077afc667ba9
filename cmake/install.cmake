# Installs the library, its headers, a CMake package (find_package(olma-core), target
# olma::core) and a pkg-config file (olma-core.pc).
include(CMakePackageConfigHelpers)

install(TARGETS olma-core EXPORT olma-core-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/olma DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(olma_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/olma-core)
install(EXPORT olma-core-targets NAMESPACE olma:: DESTINATION ${olma_cmake_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/olma-core-config.cmake.in
                              ${PROJECT_BINARY_DIR}/olma-core-config.cmake
                              INSTALL_DESTINATION ${olma_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/olma-core-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/olma-core-config.cmake ${PROJECT_BINARY_DIR}/olma-core-config-version.cmake
        DESTINATION ${olma_cmake_dir})

# The .pc file locates the prefix relative to itself, so an installed tree can be moved.
file(RELATIVE_PATH OLMA_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(${PROJECT_SOURCE_DIR}/cmake/olma-core.pc.in ${PROJECT_BINARY_DIR}/olma-core.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/olma-core.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
