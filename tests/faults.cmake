# SPDX-License-Identifier: Apache-2.0
# A sample of the faults of scripts/faults.
if(NOT Python3_FOUND)
  return()
endif()

add_test(NAME faults.sample COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/sample.sh" 61)
set_tests_properties(faults.sample PROPERTIES
  FIXTURES_REQUIRED installed LABELS system TIMEOUT 1200 SKIP_RETURN_CODE 77
  ENVIRONMENT "KOV_INSTALLED=${INSTALLED}")
