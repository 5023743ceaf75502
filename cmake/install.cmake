# The CMake package: find_package(wpk) gives wpk::wpk (Windows) and wpk::xml.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/wpk)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/wpk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS wpk_xml EXPORT wpkTargets)
if(WIN32)
  install(TARGETS wpk EXPORT wpkTargets)
  install(FILES ${PROJECT_SOURCE_DIR}/src/wpk.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
install(EXPORT wpkTargets NAMESPACE wpk:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/wpkConfig.cmake.in ${CMAKE_BINARY_DIR}/wpkConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/wpkConfig.cmake ${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake DESTINATION ${package_dir})
