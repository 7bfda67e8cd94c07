# tolvane_test(NAME SOURCE... [LIBS lib...]): one GoogleTest program, each of its tests known to ctest.
find_package(GTest REQUIRED)
include(GoogleTest)

function(tolvane_test name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE tolvane_core tolvane_test_support GTest::gtest_main ${ARG_LIBS})
  if(TOLVANE_SANITIZE)
    # Instrumented templates take the optimiser minutes; the tests' own code need not be quick.
    target_compile_options(${name} PRIVATE -O0)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
endfunction()
