# SPDX-License-Identifier: Apache-2.0
kov_unit_test(state_test
  SOURCES
    unit/fennik/FileFaults.cpp unit/provider/ProviderFixture.cpp unit/state/NoRepair_test.cpp unit/state/StateFaults_test.cpp
    unit/state/StateFixture.cpp unit/state/StateNames_test.cpp unit/state/StateNodes_test.cpp
    unit/state/StateProof_test.cpp unit/state/StateRestoring_test.cpp
    unit/state/StateSaving_test.cpp
  LINKS fennik_state fennik_testing)
kov_redirect_file_calls(state_test)

# Stories of saving and restoring, each in a sandbox of its own (scripts/sandbox).
if(NOT Python3_FOUND)
  return()
endif()

set(STATE_STORIES "${CMAKE_CURRENT_SOURCE_DIR}/system/state")
file(GLOB STATE_STORY_FILES CONFIGURE_DEPENDS "${STATE_STORIES}/*.py")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${STATE_STORY_FILES})
execute_process(COMMAND "${Python3_EXECUTABLE}" "${COPY_STORIES_DIR}/run_copy_story.py"
                        --in "${STATE_STORIES}" --list
                OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" STORIES "${STORIES}")

foreach(STORY ${STORIES})
  string(REPLACE "_stories." "." NAME "${STORY}")
  string(REPLACE ".test_" "." NAME "${NAME}")
  add_test(NAME "state.${NAME}"
    COMMAND "${Python3_EXECUTABLE}" "${COPY_STORIES_DIR}/run_copy_story.py" --in "${STATE_STORIES}"
            "${STORY}")
  set_tests_properties("state.${NAME}" PROPERTIES
    FIXTURES_REQUIRED installed LABELS "system;state" TIMEOUT 600 SKIP_RETURN_CODE 77
    ENVIRONMENT "KOV_INSTALLED=${INSTALLED};KOV_MOF_CORPUS=${KOV_MOF_CORPUS}")
endforeach()
