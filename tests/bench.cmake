# SPDX-License-Identifier: Apache-2.0
# How scripts/bench judges what it has measured.
if(NOT Python3_FOUND)
  return()
endif()
add_test(NAME bench.conclusions
  COMMAND "${Python3_EXECUTABLE}" "${CMAKE_CURRENT_SOURCE_DIR}/unit/bench/bench_test.py")
set_tests_properties(bench.conclusions PROPERTIES LABELS unit TIMEOUT 60)
