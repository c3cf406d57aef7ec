# SPDX-License-Identifier: Apache-2.0
# Stories of the installed programs, told by Python.
find_package(Python3 3.9 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  message(WARNING "No Python 3: the stories of the installed tool are left out")
endif()

set(INSTALLED "${CMAKE_CURRENT_BINARY_DIR}/installed")
set(RUN_STORY "${CMAKE_CURRENT_SOURCE_DIR}/system/fennik/run_story.py")
# In a sandbox of its own (scripts/sandbox), with a stand-in for the daemon's init script.
set(RUN_COPY_STORY "${CMAKE_CURRENT_SOURCE_DIR}/system/copy/run_copy_story.py")

# A test for each story in DIRECTORY, after the programs were installed once:
#
#   kov_stories(PREFIX DIRECTORY RUN script.py LABELS label... ENVIRONMENT NAME=VALUE...)
function(kov_stories PREFIX DIRECTORY)
  cmake_parse_arguments(S "" "RUN" "LABELS;ENVIRONMENT" ${ARGN})
  cmake_path(ABSOLUTE_PATH DIRECTORY BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  file(GLOB FILES CONFIGURE_DEPENDS "${DIRECTORY}/*.py")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${FILES})
  set(ENVIRONMENT "KOV_INSTALLED=${INSTALLED}" "KOV_SOURCE=${CMAKE_SOURCE_DIR}"
                  "KOV_LIVE_DIR=${CMAKE_CURRENT_BINARY_DIR}/live"
                  "KOV_MOF_CORPUS=${KOV_MOF_CORPUS}" ${S_ENVIRONMENT})
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env ${ENVIRONMENT}
                          "${Python3_EXECUTABLE}" "${S_RUN}" "${DIRECTORY}" --list
                  OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" STORIES "${STORIES}")
  foreach(STORY ${STORIES})
    string(REPLACE "_stories." "." NAME "${PREFIX}.${STORY}")
    string(REPLACE ".test_" "." NAME "${NAME}")
    add_test(NAME "${NAME}" COMMAND "${Python3_EXECUTABLE}" "${S_RUN}" "${DIRECTORY}" "${STORY}")
    set_tests_properties("${NAME}" PROPERTIES
      FIXTURES_REQUIRED installed LABELS "${S_LABELS}" TIMEOUT 600 SKIP_RETURN_CODE 77
      ENVIRONMENT "${ENVIRONMENT}")
  endforeach()
endfunction()
