# Compiler options shared by every target of the project.

# The product's own warnings; they are errors. Tests and tools take them as well, without the two that fight test
# frameworks' macros.
add_library(wpk_warnings INTERFACE)
if(MSVC)
  target_compile_options(wpk_warnings INTERFACE /W4 /WX /utf-8)
else()
  target_compile_options(wpk_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
endif()

add_library(wpk_test_warnings INTERFACE)
if(MSVC)
  target_compile_options(wpk_test_warnings INTERFACE /W4 /WX /utf-8)
else()
  target_compile_options(wpk_test_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror)
endif()

if(WPK_SANITIZE)
  add_compile_options(-fsanitize=${WPK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${WPK_SANITIZE})
endif()

if(WPK_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_compile_definitions(WPK_COVERAGE)
  add_link_options(--coverage)
endif()

# Programs and the DLL carry their run-time libraries with them: they must start on a machine that has no compiler.
if(MINGW)
  add_link_options(-static)
endif()

# The same sources give the same bytes, wherever and whenever they are built.
if(NOT MSVC)
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()
if(MINGW)
  add_link_options(-Wl,--no-insert-timestamp)
endif()
