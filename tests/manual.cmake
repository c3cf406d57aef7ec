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

# Every command in the pages and documents, and completion, in sandboxes.
set(MANUAL_STORIES "${CMAKE_CURRENT_SOURCE_DIR}/manual")
file(GLOB MANUAL_STORY_FILES CONFIGURE_DEPENDS "${MANUAL_STORIES}/*.py")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${MANUAL_STORY_FILES})
set(MANUAL_ENVIRONMENT
  "${MANUAL_ENVIRONMENT};KOV_LIVE_DIR=${CMAKE_CURRENT_BINARY_DIR}/live"
  "PYTHONPATH=${CMAKE_CURRENT_SOURCE_DIR}/system/live")
execute_process(COMMAND "${CMAKE_COMMAND}" -E env ${MANUAL_ENVIRONMENT}
                        "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py"
                        --in "${MANUAL_STORIES}" --list
                OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" STORIES "${STORIES}")

foreach(STORY ${STORIES})
  string(REGEX REPLACE "^[a-z]+_stories\\." "" NAME "${STORY}")
  string(REPLACE ".test_" "." NAME "${NAME}")
  add_test(NAME "manual.${NAME}"
    COMMAND "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py" --in "${MANUAL_STORIES}" "${STORY}")
  set_tests_properties("manual.${NAME}" PROPERTIES
    FIXTURES_REQUIRED installed LABELS "system;live" TIMEOUT 300 SKIP_RETURN_CODE 77
    ENVIRONMENT "${MANUAL_ENVIRONMENT}")
endforeach()
