set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

option(FERROW_TESTS "Build the tests" ON)
option(FERROW_BENCH "Build the benches" ON)
option(FERROW_FUZZ "Build the fuzz targets for libFuzzer; needs clang" OFF)
option(FERROW_WERROR "Treat warnings as errors" ON)
option(FERROW_COVERAGE "Count the lines and branches that run, for gcov" OFF)
set(FERROW_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")

# Everything is built for AVX2 machines; the library says so at load on an older one.
add_compile_options(-march=x86-64-v3 -Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion
                    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
# The sanitizers' instrumentation brings warnings of its own.
if(FERROW_WERROR AND NOT FERROW_SANITIZE)
  add_compile_options(-Werror)
endif()
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -fno-math-errno -fno-trapping-math")
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g1 -fno-math-errno -fno-trapping-math")

if(FERROW_SANITIZE)
  add_compile_options(-fsanitize=${FERROW_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${FERROW_SANITIZE})
endif()

if(FERROW_COVERAGE)
  # Counts of all threads, and paths that gcov finds from anywhere.
  add_compile_options(--coverage -fprofile-update=atomic -fprofile-abs-path)
  add_link_options(--coverage)
endif()

find_program(FERROW_CCACHE ccache)
if(FERROW_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${FERROW_CCACHE})
  # Without this no source with a precompiled header is ever found in the cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${FERROW_CCACHE})
endif()
