# What stands beside a DLL that mingw-w64 makes: debug symbols, and an import library for the linkers of Visual Studio.

# wpk_keep_debug_symbols(TARGET): has TARGET compiled with debug symbols, the same ones in every build folder. ccache can be
# told to give the compiler the sources' names as seen from there.
function(wpk_keep_debug_symbols target)
  file(RELATIVE_PATH sources ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  target_compile_options(${target} PRIVATE -g -ffile-prefix-map=${CMAKE_BINARY_DIR}=build -ffile-prefix-map=${sources}=)
endfunction()

# wpk_split_debug_symbols(TARGET): moves the symbols out of the DLL into a file beside it, its name followed by .debug. The
# DLL holds that name and a checksum (.gnu_debuglink), by which debuggers find the file and refuse another build's.
function(wpk_split_debug_symbols target)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --strip-all --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
    VERBATIM)
endfunction()

# wpk_add_msvc_import_library(NAME DEF_FILE): makes NAME.lib, if LLVM's tool for it is there. Those of binutils are not read
# right by all linkers.
find_program(WPK_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
function(wpk_add_msvc_import_library name def_file)
  if(NOT WPK_DLLTOOL)
    message(STATUS "llvm-dlltool is missing: no import library for Visual Studio is made.")
    return()
  endif()
  set(library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${name}.lib)
  add_custom_command(OUTPUT ${library} DEPENDS ${def_file} VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}
    COMMAND ${WPK_DLLTOOL} -m i386:x86-64 -d ${def_file} -l ${library})
  add_custom_target(${name}_msvc_import_library ALL DEPENDS ${library})
endfunction()
