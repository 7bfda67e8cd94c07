# Compiler and linker flags of all targets, in one interface target.
add_library(tolvane_flags INTERFACE)
target_compile_options(tolvane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  # Identical results on every machine: no fused multiply-add.
  -ffp-contract=off
  # Assertions print source paths relative to the project.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
# GCC 12 gives false warnings about overlaps in std::string operator+ (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(tolvane_flags INTERFACE -Wno-restrict)
endif()
if(TOLVANE_WERROR)
  target_compile_options(tolvane_flags INTERFACE -Werror)
endif()
if(TOLVANE_SANITIZE)
  target_compile_options(tolvane_flags INTERFACE -fsanitize=${TOLVANE_SANITIZE}
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tolvane_flags INTERFACE -fsanitize=${TOLVANE_SANITIZE})
endif()
# If damaged input ever triggers a memory error, the run ends there. Not with sanitizers, which detect more. -fPIE
# instead of CMake's property, which uses -fPIC for libraries and so prevents inlining of functions that could be
# interposed.
set(TOLVANE_IS_HARDENED FALSE)
if(TOLVANE_HARDENING AND CMAKE_BUILD_TYPE MATCHES "Rel" AND NOT TOLVANE_SANITIZE AND NOT TOLVANE_COVERAGE)
  set(TOLVANE_IS_HARDENED TRUE)
  target_compile_options(tolvane_flags INTERFACE
    -fPIE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  target_link_options(tolvane_flags INTERFACE -pie LINKER:-z,relro,-z,now)
endif()
if(TOLVANE_COVERAGE)
  target_compile_options(tolvane_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(tolvane_flags INTERFACE --coverage)
  target_compile_definitions(tolvane_flags INTERFACE TOLVANE_COVERAGE)
endif()
if(TOLVANE_FUZZ)
  target_compile_options(tolvane_flags INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(tolvane_flags INTERFACE -fsanitize=fuzzer-no-link)
  target_compile_definitions(tolvane_flags INTERFACE TOLVANE_FUZZ)
endif()
