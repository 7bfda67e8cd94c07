# tolvane_test(NAME SOURCE... [LIBS lib...]): a GoogleTest program, with each of its tests registered with ctest.
find_package(GTest REQUIRED)
include(GoogleTest)

# Compiler options of test code.
function(tolvane_test_options name)
  # Less optimisation: compiling takes minutes otherwise, and tests need not be fast.
  if(TOLVANE_SANITIZE)
    target_compile_options(${name} PRIVATE -O0)
  else()
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-Og>)
  endif()
  # GCC 12 gives false warnings about out-of-bounds copies in std::string.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${name} PRIVATE -Wno-array-bounds -Wno-stringop-overflow)
  endif()
endfunction()

function(tolvane_test name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE tolvane_core tolvane_test_support GTest::gtest_main ${ARG_LIBS})
  tolvane_test_options(${name})
  target_precompile_headers(${name} REUSE_FROM tolvane_test_support)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
endfunction()
