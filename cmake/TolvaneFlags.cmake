# Flags of every target of the project, carried by one interface target.
add_library(tolvane_flags INTERFACE)
target_compile_options(tolvane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  # Same results on every machine: no fused multiply-add.
  -ffp-contract=off
  # Assertions show source paths relative to the project.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
# GCC 12 warns of impossible overlaps inside its own std::string operator+ (its bug 105651).
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
# If a damaged file ever triggers a memory error, the run ends and does no further harm. Sanitizers check this
# and more themselves. -fPIE is set here since CMake's own property uses -fPIC for libraries, which prevents
# inlining of calls that might be replaced at load time.
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
