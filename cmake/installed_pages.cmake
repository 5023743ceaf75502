# Makes the pages in FOLDER speak of what is installed alone. They are those of the repository; what only that has is
#   - between the marks <!-- repository --> and <!-- end -->, which are HTML's comments and not seen,
#   - a row of a table that leads to one of the pages LEFT_OUT, which are for those who develop the library,
#   - the way to the programs' folder.
# HEADERS is the way from there to the headers.

function(remove_marked_parts variable)
  set(rest "${${variable}}")
  set(result "")
  string(FIND "${rest}" "<!-- repository -->" begin)
  while(NOT begin EQUAL -1)
    string(SUBSTRING "${rest}" 0 ${begin} before)
    string(SUBSTRING "${rest}" ${begin} -1 rest)
    string(FIND "${rest}" "<!-- end -->" end)
    if(end EQUAL -1)
      message(FATAL_ERROR "a part of the repository's has no end: ${rest}")
    endif()
    math(EXPR after "${end} + 12")
    string(SUBSTRING "${rest}" ${after} -1 rest)
    # A mark on a line of its own takes the line's end along.
    if(before MATCHES "\n$")
      string(REGEX REPLACE "^\n" "" rest "${rest}")
    endif()
    string(APPEND result "${before}")
    string(FIND "${rest}" "<!-- repository -->" begin)
  endwhile()
  set(${variable} "${result}${rest}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE pages ${FOLDER}/*.md)
foreach(page IN LISTS pages)
  file(READ ${page} text)
  remove_marked_parts(text)
  foreach(name IN LISTS LEFT_OUT)
    string(REGEX REPLACE "\n\\|[^\n]*\\]\\([^\n]*${name}[^\n]*" "" text "${text}")
  endforeach()
  string(REPLACE "](include/" "](${HEADERS}/" text "${text}")
  string(REGEX REPLACE "cmake --preset windows[^\n]*\ncd build/windows/bin\n" "" text "${text}")
  string(REPLACE "../../../scripts/wine.sh" "wine" text "${text}")
  file(WRITE ${page} "${text}")
endforeach()
