# Hardening of everything that is installed: a file that makes a program write past a buffer, or jump where it should not,
# ends the program. FORTIFY works in optimised builds alone, and the sanitizers examine more than all of these.
if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR TOLVANE_SANITIZE)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
check_cxx_compiler_flag(-fcf-protection TOLVANE_HAS_CF_PROTECTION)
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong -fstack-clash-protection)
if(TOLVANE_HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection)
endif()
add_link_options(-Wl,-z,relro,-z,now)
