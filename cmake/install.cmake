# What `cmake --install` lays out: headers, the DLL with its import libraries and its list of exports, the XML library with
# its sources (for compilers that cannot link this one's), the programs to try it with, licence and documentation with the
# examples' sources, a CMake package and files for pkg-config; cmake/mingw-w64.cmake, which the package was built with,
# serves those who build on it. The component debug_symbols holds the DLL's debug symbols, and is installed when named.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/wpk)
set(wpk_sources ${CMAKE_INSTALL_DATADIR}/wpk)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/wpk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS wpk_xml EXPORT wpkXmlTargets)
if(WIN32)
  install(TARGETS wpk EXPORT wpkTargets)
  install(FILES ${PROJECT_SOURCE_DIR}/src/wpk.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/mingw-w64.cmake DESTINATION ${CMAKE_INSTALL_DATADIR}/wpk/cmake)
endif()
if(TARGET wpk_msvc_import_library)
  install(FILES ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/wpk.lib DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(MINGW)
  install(FILES $<TARGET_FILE:wpk>.debug DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT debug_symbols EXCLUDE_FROM_ALL)
endif()
if(TARGET wpk_send)
  foreach(program IN ITEMS message_server wpk_send wpk_trace desktop c_send)
    install(TARGETS ${program})
    if(MINGW)
      # As small as the DLL, and without the symbols' names of where they were built.
      target_link_options(${program} PRIVATE $<$<CONFIG:Release>:-s>)
    endif()
  endforeach()
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/xml DESTINATION ${wpk_sources})
install(FILES LICENSE THIRD_PARTY.md README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The pages stand to each other as in the repository; those for whoever develops the library are left out.
set(left_out CONTRIBUTING.md architecture.md performance.md testing.md)
foreach(name IN LISTS left_out ITEMS Doxyfile reference.dox)
  list(APPEND excludes PATTERN ${name} EXCLUDE)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} ${excludes})
file(RELATIVE_PATH headers /${CMAKE_INSTALL_DOCDIR} /${CMAKE_INSTALL_INCLUDEDIR})
install(CODE "set(FOLDER \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}\")
              set(LEFT_OUT ${left_out})
              set(HEADERS ${headers})")
install(SCRIPT cmake/installed_pages.cmake)

# The CMake package. wpkConfig.cmake decides what serves the project that asks.
include(cmake/wpkProcessor.cmake)
set(wpk_built_for "${CMAKE_SYSTEM_NAME} ${wpk_processor} ${CMAKE_CXX_COMPILER_ID}")
install(EXPORT wpkXmlTargets NAMESPACE wpk:: DESTINATION ${package_dir})
if(WIN32)
  install(EXPORT wpkTargets NAMESPACE wpk:: DESTINATION ${package_dir})
endif()
foreach(file IN ITEMS wpkConfig wpkXmlSources)
  configure_package_config_file(cmake/${file}.cmake.in ${CMAKE_BINARY_DIR}/installed/${file}.cmake
    INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR wpk_sources)
endforeach()
write_basic_package_version_file(${CMAKE_BINARY_DIR}/installed/wpkConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES ${CMAKE_BINARY_DIR}/installed/wpkConfig.cmake ${CMAKE_BINARY_DIR}/installed/wpkXmlSources.cmake
              ${CMAKE_BINARY_DIR}/installed/wpkConfigVersion.cmake cmake/wpkProcessor.cmake DESTINATION ${package_dir})

# The files for pkg-config. With -static, the linker looks for a -lwpk among static libraries alone.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(wpk_link_word -lwpk)
if(MINGW)
  set(wpk_link_word -l:libwpk.dll.a)
endif()
set(pkgconfig_files wpk-xml)
if(WIN32)
  list(APPEND pkgconfig_files wpk)
endif()
foreach(file IN LISTS pkgconfig_files)
  configure_file(cmake/${file}.pc.in installed/${file}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/installed/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
