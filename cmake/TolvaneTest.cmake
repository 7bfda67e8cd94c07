# tolvane_test(NAME SOURCE... [LIBS lib...]): adds a GoogleTest program and registers each of its tests with
# ctest.
find_package(GTest REQUIRED)
include(GoogleTest)

function(tolvane_test name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE tolvane_core tolvane_test_support GTest::gtest_main ${ARG_LIBS})
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h>)
  # Optimising the test code would take minutes, and it need not be fast.
  if(TOLVANE_SANITIZE)
    target_compile_options(${name} PRIVATE -O0)
  else()
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  endif()
  # At -O1 GCC 12 warns of copies out of bounds inside its own std::string.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${name} PRIVATE -Wno-array-bounds -Wno-stringop-overflow)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
endfunction()
