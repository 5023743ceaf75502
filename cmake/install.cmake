# What `cmake --install` lays out: headers, the DLL with its import library and its list of exports, the XML library with
# its sources (for compilers that cannot link this one's), a server and a client to try it with, licence and
# documentation with the examples' sources, and the CMake package: find_package(wpk) gives wpk::wpk (Windows) and
# wpk::xml; cmake/mingw-w64.cmake, which the package was built with, serves those who build on it.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/wpk)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/wpk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS wpk_xml EXPORT wpkTargets)
if(WIN32)
  install(TARGETS wpk EXPORT wpkTargets)
  install(FILES ${PROJECT_SOURCE_DIR}/src/wpk.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/mingw-w64.cmake DESTINATION ${CMAKE_INSTALL_DATADIR}/wpk/cmake)
endif()
if(TARGET wpk_send)
  install(TARGETS message_server wpk_send wpk_trace)
  if(MINGW)
    # As small as the DLL, and without the symbols' names of where they were built.
    target_link_options(message_server PRIVATE $<$<CONFIG:Release>:-s>)
    target_link_options(wpk_send PRIVATE $<$<CONFIG:Release>:-s>)
    target_link_options(wpk_trace PRIVATE $<$<CONFIG:Release>:-s>)
  endif()
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/xml DESTINATION ${CMAKE_INSTALL_DATADIR}/wpk)
install(FILES LICENSE CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The pages stand to each other as in the repository; only the headers are elsewhere.
file(READ README.md readme)
file(RELATIVE_PATH headers /${CMAKE_INSTALL_DOCDIR} /${CMAKE_INSTALL_INCLUDEDIR})
string(REPLACE "](include/" "](${headers}/" readme "${readme}")
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/installed/README.md CONTENT "${readme}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS README.md)
install(FILES ${CMAKE_BINARY_DIR}/installed/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT wpkTargets NAMESPACE wpk:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/wpkConfig.cmake.in ${CMAKE_BINARY_DIR}/wpkConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/wpkConfig.cmake ${CMAKE_BINARY_DIR}/wpkConfigVersion.cmake DESTINATION ${package_dir})
