# GoogleTest, built from Debian's sources for the target at hand.
if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
  message(FATAL_ERROR "/usr/src/googletest is missing, which the tests need: run scripts/setup.sh, install Debian's "
                      "package googletest, or leave the tests out with -DWPK_TESTS=OFF.")
endif()
set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

# Builds the test programs and what they are made of, nothing else.
add_custom_target(tests)

# What all test programs are compiled with.
function(wpk_set_test_options target)
  target_link_libraries(${target} PRIVATE wpk_test_warnings GTest::gmock_main)
  # Most of the time a test program takes is the compiler's, and with sanitizers several times as much. The product gets
  # the full treatment; of the tests it is enough to see their accesses.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-O0>)
  if(WPK_SANITIZE)
    target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
  endif()
endfunction()

# wpk_set_usual_time(TEST SECONDS [HEAVY]): how long a test takes on two cores by itself. The longest begin first; one that
# takes ten times as long hangs. Most wait nearly all the time and can run beside any other; of those that keep the
# machine busy (HEAVY), one runs at a time.
function(wpk_set_usual_time test seconds)
  if(WPK_SANITIZE OR WPK_COVERAGE)
    set(factor 40)
  else()
    set(factor 10)
  endif()
  math(EXPR timeout "${seconds} * ${factor}")
  # The shortest ones mostly wait for Wine, which serves all programs by one thread: beside the load test and the
  # builds of the package, three seconds have become a minute.
  if(timeout LESS 180)
    set(timeout 180)
  endif()
  set_tests_properties(${test} PROPERTIES TIMEOUT ${timeout} COST ${seconds})
  if("HEAVY" IN_LIST ARGN)
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK machine)
  endif()
endfunction()

# A good part of that time goes into the same headers: they are read once.
add_library(wpk_test_headers OBJECT EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tests/support/test_headers.cpp)
wpk_set_test_options(wpk_test_headers)
target_precompile_headers(wpk_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

# The test framework need not be fast, and sanitizers have nothing to look for in it.
foreach(target IN ITEMS gtest gmock gmock_main)
  if(WPK_SANITIZE)
    target_compile_options(${target} PRIVATE -O0 -g0 -fno-sanitize=all)
  else()
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-O1>)
  endif()
endforeach()

# wpk_add_test(NAME SOURCES... [LIBRARIES ...]): one GoogleTest program, one CTest entry of the same name. Programs for
# Windows run under Wine in a prefix of the build folder's own (scripts/wine.sh).
function(wpk_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  add_dependencies(tests ${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
  wpk_set_test_options(${name})
  target_precompile_headers(${name} REUSE_FROM wpk_test_headers)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src)
  if(CMAKE_HOST_WIN32 OR NOT WIN32)
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  else()
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine.sh $<TARGET_FILE:${name}>
             WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  endif()
  wpk_set_usual_time(${name} 6)
endfunction()
