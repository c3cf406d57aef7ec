# SPDX-License-Identifier: Apache-2.0
# What the manual pages and the documents say, held against the installed programs.
if(NOT Python3_FOUND)
  return()
endif()

set(MANUAL_ENVIRONMENT "KOV_INSTALLED=${INSTALLED};KOV_SOURCE=${CMAKE_SOURCE_DIR}")

add_test(NAME manual.pages
  COMMAND "${Python3_EXECUTABLE}" -B "${CMAKE_CURRENT_SOURCE_DIR}/manual/pages_test.py")
set_tests_properties(manual.pages PROPERTIES
  FIXTURES_REQUIRED installed LABELS system TIMEOUT 120 ENVIRONMENT "${MANUAL_ENVIRONMENT}")
