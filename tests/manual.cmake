# SPDX-License-Identifier: Apache-2.0
# What the manual pages and the documents say, held against the installed programs.
if(NOT Python3_FOUND)
  return()
endif()

add_test(NAME manual.pages
  COMMAND "${Python3_EXECUTABLE}" -B "${CMAKE_CURRENT_SOURCE_DIR}/manual/pages_test.py")
set_tests_properties(manual.pages PROPERTIES
  FIXTURES_REQUIRED installed LABELS system TIMEOUT 120
  ENVIRONMENT "KOV_INSTALLED=${INSTALLED};KOV_SOURCE=${CMAKE_SOURCE_DIR}")

# Every command in the pages and documents, and completion, in sandboxes.
kov_stories(manual manual RUN "${RUN_STORY}" LABELS system live
  ENVIRONMENT "PYTHONPATH=${CMAKE_CURRENT_SOURCE_DIR}/system/live")
