# What a build may choose, and the compiler settings that all of our own code shares.

option(TOLVANE_BUILD_TESTS "Build the tests" ON)
option(TOLVANE_BUILD_BENCH "Build the benchmarks" OFF)
option(TOLVANE_BUILD_FUZZ "Build the fuzz targets; needs clang" OFF)
# Memory and file calls go through a layer that tells overruns, double frees and files closed twice on standard error;
# see docs/tracing.md. Everything else is left out, since it would free blocks of the layer past it.
option(TOLVANE_DEBUG_ALLOC "Build the libraries and the viewer only, on top of the debugging allocator" OFF)
set(TOLVANE_SANITIZE "" CACHE STRING "Sanitizers of -fsanitize=, for instance address,undefined")

# Where modules are installed that a program opens when it needs them.
set(TOLVANE_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/tolvane)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(tolvane_own INTERFACE)
target_compile_options(tolvane_own INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
target_compile_definitions(tolvane_own INTERFACE _FILE_OFFSET_BITS=64)

if(TOLVANE_SANITIZE)
  add_compile_options(-fsanitize=${TOLVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  # The instrumentation blurs the compiler's view of what is initialised; the sanitizers themselves see it.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${TOLVANE_SANITIZE})
endif()
