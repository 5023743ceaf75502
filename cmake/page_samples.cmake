# The code of the pages. tests/docs/extract.py says how a page marks it.
find_program(WPK_PYTHON NAMES python3 REQUIRED)

# wpk_use_page_samples(TARGET PAGE SOURCES...): TARGET's sources can include the samples of PAGE, for docs/xml.md as
# "xml/NAME.inc". The SOURCES are those that do; together they must include all of them. They are compiled again when the
# page has changed.
function(wpk_use_page_samples target page)
  get_filename_component(stem ${page} NAME_WE)
  string(TOLOWER ${stem} stem)
  set(folder ${CMAKE_BINARY_DIR}/page_samples)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE users)
  execute_process(COMMAND ${WPK_PYTHON} ${PROJECT_SOURCE_DIR}/tests/docs/extract.py ${PROJECT_SOURCE_DIR}/${page}
                          ${folder}/${stem} ${users} RESULT_VARIABLE result ERROR_VARIABLE problem)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${problem}")
  endif()
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
               ${PROJECT_SOURCE_DIR}/${page} ${PROJECT_SOURCE_DIR}/tests/docs/extract.py ${users})
  target_include_directories(${target} PRIVATE ${folder})
endfunction()
