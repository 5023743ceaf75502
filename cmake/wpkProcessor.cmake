# Sets wpk_processor to what the project's compilers make code for. Where a compiler does not say it, the platform does.
set(wpk_processor ${CMAKE_SYSTEM_PROCESSOR})
foreach(wpk_language IN ITEMS C CXX)
  if(CMAKE_${wpk_language}_COMPILER_ARCHITECTURE_ID)
    set(wpk_processor ${CMAKE_${wpk_language}_COMPILER_ARCHITECTURE_ID})
  endif()
endforeach()
# It bears several names, and a compiler for it can make code of 32 bits too.
if(wpk_processor MATCHES "^([Xx]64|AMD64|amd64|x86_64)$")
  set(wpk_processor x64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(wpk_processor x86)
  endif()
endif()
