# One object library per folder. The shared library and the unit tests take the same objects, so that
# everything is compiled once.
# ferrow_module(NAME SOURCES a.cpp ... [LINK lib ...]): objects of one folder of the library.
function(ferrow_module name)
  cmake_parse_arguments(M "" "" "SOURCES;LINK" ${ARGN})
  add_library(ferrow_${name} OBJECT ${M_SOURCES})
  target_include_directories(ferrow_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(ferrow_${name} PUBLIC Threads::Threads fmt::fmt ${M_LINK})
  set_property(GLOBAL APPEND PROPERTY FERROW_MODULES ferrow_${name})
endfunction()

# ferrow_test(NAME SOURCES a.cpp ... [LINK lib ...] [LABELS unit|api|sim|slow ...] [TIMEOUT s] [SERIAL]): one GoogleTest
# program; every case in it becomes a ctest test of its own process.
function(ferrow_test name)
  cmake_parse_arguments(T "SERIAL" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  add_executable(test_${name} ${T_SOURCES})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_compile_definitions(test_${name} PRIVATE FERROW_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  target_link_libraries(test_${name} PRIVATE ${T_LINK} GTest::gtest GTest::gtest_main Threads::Threads fmt::fmt)
  # One label with all words in it: ctest -L and -LE look for a part of it.
  string(REPLACE ";" "-" labels "${T_LABELS}")
  # What every test includes is compiled once.
  if(NOT TARGET test_precompiled)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/test_precompiled.cpp CONTENT "int main() {}\n")
    add_executable(test_precompiled ${PROJECT_BINARY_DIR}/test_precompiled.cpp)
    target_link_libraries(test_precompiled PRIVATE GTest::gtest Threads::Threads fmt::fmt)
    target_compile_options(test_precompiled PRIVATE -pthread)
    target_precompile_headers(test_precompiled PRIVATE <gtest/gtest.h> <fmt/format.h> <atomic> <chrono> <complex>
      <condition_variable> <functional> <map> <memory> <mutex> <random> <string> <string_view> <thread> <vector>)
  endif()
  if(NOT "${T_SOURCES}" MATCHES "\\.c(;|$)")
    target_precompile_headers(test_${name} REUSE_FROM test_precompiled)
    # With a precompiled header GCC 12 forgets that the standard library is a system header, and warns of what is no fault.
    target_compile_options(test_${name} PRIVATE -pthread -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
  endif()
  gtest_discover_tests(test_${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                       PROPERTIES LABELS "${labels}" TIMEOUT ${T_TIMEOUT} RUN_SERIAL ${T_SERIAL})
endfunction()

# ferrow_bench(NAME SOURCES a.cpp ... [LINK lib ...]): one Google Benchmark program.
function(ferrow_bench name)
  cmake_parse_arguments(B "" "" "SOURCES;LINK" ${ARGN})
  add_executable(bench_${name} ${B_SOURCES})
  target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(bench_${name} PRIVATE ${B_LINK} benchmark::benchmark benchmark::benchmark_main)
endfunction()

# ferrow_python_test(NAME script.py [CASES Case ...] [LABELS ...] [TIMEOUT s]): a script of unittest cases over the built
# library, by the system's Python. Not under a sanitizer, whose library must come before Python's.
find_program(FERROW_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(FERROW_PYTHON python3)
function(ferrow_python_test name script)
  cmake_parse_arguments(P "" "TIMEOUT" "CASES;LABELS" ${ARGN})
  if(FERROW_SANITIZE OR NOT FERROW_PYTHON)
    return()
  endif()
  if(NOT P_TIMEOUT)
    set(P_TIMEOUT 120)
  endif()
  string(REPLACE ";" "-" labels "${P_LABELS}")
  add_test(NAME ${name} COMMAND ${FERROW_PYTHON} -B ${CMAKE_CURRENT_SOURCE_DIR}/${script} -v ${P_CASES})
  set_tests_properties(${name} PROPERTIES LABELS "${labels}" TIMEOUT ${P_TIMEOUT} ENVIRONMENT
    "PYTHONPATH=${PROJECT_SOURCE_DIR}/bindings/python:${PROJECT_SOURCE_DIR};FERROWCORE_LIBRARY=$<TARGET_FILE:ferrowcore>;FERROW_SIM=$<TARGET_FILE:ferrow-sim>;FERROW_EXAMPLES=${PROJECT_BINARY_DIR}/tests/examples")
endfunction()
