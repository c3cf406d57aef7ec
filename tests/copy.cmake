# SPDX-License-Identifier: Apache-2.0
# Stories of the operations that work on a copy of the repository, each in a sandbox of its own
# (scripts/sandbox). They use the installed tree of system.cmake.
if(NOT Python3_FOUND)
  return()
endif()

set(COPY_STORIES_DIR "${CMAKE_CURRENT_SOURCE_DIR}/system/copy")
file(GLOB COPY_STORY_FILES CONFIGURE_DEPENDS "${COPY_STORIES_DIR}/*.py")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${COPY_STORY_FILES})
execute_process(COMMAND "${Python3_EXECUTABLE}" "${COPY_STORIES_DIR}/run_copy_story.py" --list
                OUTPUT_VARIABLE COPY_STORIES OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" COPY_STORIES "${COPY_STORIES}")

foreach(STORY ${COPY_STORIES})
  string(REPLACE "_stories." "." NAME "${STORY}")
  string(REPLACE ".test_" "." NAME "${NAME}")
  add_test(NAME "copy.${NAME}"
    COMMAND "${Python3_EXECUTABLE}" "${COPY_STORIES_DIR}/run_copy_story.py" "${STORY}")
  set_tests_properties("copy.${NAME}" PROPERTIES
    FIXTURES_REQUIRED installed LABELS system TIMEOUT 300 SKIP_RETURN_CODE 77
    ENVIRONMENT "KOV_INSTALLED=${INSTALLED}")
endforeach()
