# What `cmake --install` lays out: headers, the DLL with its import library and its list of exports, the XML library with
# its sources (for compilers that cannot link this one's), licence and documentation, and the CMake package:
# find_package(wpk) gives wpk::wpk (Windows) and wpk::xml.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/wpk)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/wpk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS wpk_xml EXPORT wpkTargets)
if(WIN32)
  install(TARGETS wpk EXPORT wpkTargets)
  install(FILES ${PROJECT_SOURCE_DIR}/src/wpk.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/xml DESTINATION ${CMAKE_INSTALL_DATADIR}/wpk)
install(FILES LICENSE README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(EXPORT wpkTargets NAMESPACE wpk:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/wpkConfig.cmake.in ${CMAKE_BINARY_DIR}/wpkConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/wpkConfig.cmake ${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake DESTINATION ${package_dir})
