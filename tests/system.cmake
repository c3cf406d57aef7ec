# SPDX-License-Identifier: Apache-2.0
# Stories of the installed tool, one CTest test each. A test that the stories require runs
# "cmake --install" once.
find_package(Python3 3.9 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  message(WARNING "No Python 3: the stories of the installed tool are left out")
  return()
endif()

set(STORIES_DIR "${CMAKE_CURRENT_SOURCE_DIR}/system/fennik")
set(INSTALLED "${CMAKE_CURRENT_BINARY_DIR}/installed")
file(GLOB STORY_FILES CONFIGURE_DEPENDS "${STORIES_DIR}/*.py")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${STORY_FILES})
execute_process(COMMAND "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py" --list
                OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" STORIES "${STORIES}")

add_test(NAME system.install
  COMMAND "${CMAKE_COMMAND}" -E env "DESTDIR=${INSTALLED}"
          "${CMAKE_COMMAND}" --install "${CMAKE_BINARY_DIR}")
set_tests_properties(system.install PROPERTIES FIXTURES_SETUP installed LABELS system)

foreach(STORY ${STORIES})
  string(REPLACE "_stories." "." NAME "${STORY}")
  string(REPLACE ".test_" "." NAME "${NAME}")
  add_test(NAME "system.${NAME}"
    COMMAND "${Python3_EXECUTABLE}" "${STORIES_DIR}/run_story.py" "${STORY}")
  set_tests_properties("system.${NAME}" PROPERTIES
    FIXTURES_REQUIRED installed LABELS system TIMEOUT 300 SKIP_RETURN_CODE 77
    ENVIRONMENT "KOV_INSTALLED=${INSTALLED};KOV_MOF_CORPUS=${KOV_MOF_CORPUS}")
endforeach()
