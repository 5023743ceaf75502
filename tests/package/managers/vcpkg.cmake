# cmake -DPORT=FOLDER -DCURRENT_PACKAGES_DIR=FOLDER -P vcpkg.cmake: carries out a port's steps, with plain CMake in place of
# vcpkg's functions of these names.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(vcpkg_cmake_configure)
  cmake_parse_arguments(arg "" "SOURCE_PATH" "OPTIONS" ${ARGN})
  run(${CMAKE_COMMAND} -S ${arg_SOURCE_PATH} -B ${CURRENT_PACKAGES_DIR}-build -G Ninja ${arg_OPTIONS}
      -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DCMAKE_INSTALL_PREFIX=${CURRENT_PACKAGES_DIR})
endfunction()

function(vcpkg_cmake_install)
  run(${CMAKE_COMMAND} --build ${CURRENT_PACKAGES_DIR}-build --target install)
endfunction()

# Moves the package's files; here they stay, and have to be where they were said to be.
function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(arg "" "CONFIG_PATH" "" ${ARGN})
  if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}/wpkConfig.cmake)
    message(FATAL_ERROR "no wpkConfig.cmake in ${arg_CONFIG_PATH}")
  endif()
endfunction()

function(vcpkg_fixup_pkgconfig)
  if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/lib/pkgconfig/wpk-xml.pc)
    message(FATAL_ERROR "no wpk-xml.pc")
  endif()
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(arg "" "" "FILE_LIST" ${ARGN})
  file(INSTALL ${arg_FILE_LIST} DESTINATION ${CURRENT_PACKAGES_DIR}/share/wpk RENAME copyright)
endfunction()

include(${PORT}/portfile.cmake)
