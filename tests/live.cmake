# SPDX-License-Identifier: Apache-2.0
# Stories of the live system: the installed programs at their real places, in a sandbox. They are
# skipped where sandboxes cannot be made.
if(NOT Python3_FOUND)
  return()
endif()

set(LIVE_STORIES "${CMAKE_CURRENT_SOURCE_DIR}/system/live")
file(GLOB LIVE_STORY_FILES CONFIGURE_DEPENDS "${LIVE_STORIES}/*.py")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${LIVE_STORY_FILES})
execute_process(COMMAND "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py"
                        --in "${LIVE_STORIES}" --list
                OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" STORIES "${STORIES}")

foreach(STORY ${STORIES})
  string(REPLACE "_stories." "." NAME "${STORY}")
  string(REPLACE ".test_" "." NAME "${NAME}")
  add_test(NAME "live.${NAME}"
    COMMAND "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py" --in "${LIVE_STORIES}" "${STORY}")
  set_tests_properties("live.${NAME}" PROPERTIES
    FIXTURES_REQUIRED installed LABELS "system;live" TIMEOUT 300 SKIP_RETURN_CODE 77
    ENVIRONMENT "KOV_INSTALLED=${INSTALLED};KOV_SOURCE=${CMAKE_SOURCE_DIR};KOV_LIVE_DIR=${CMAKE_CURRENT_BINARY_DIR}/live")
endforeach()
