# SPDX-License-Identifier: Apache-2.0
# Stories of the installed tool with staged trees.
if(NOT Python3_FOUND)
  return()
endif()

add_test(NAME system.install
  COMMAND "${CMAKE_COMMAND}" -E env "DESTDIR=${INSTALLED}"
          "${CMAKE_COMMAND}" --install "${CMAKE_BINARY_DIR}")
set_tests_properties(system.install PROPERTIES FIXTURES_SETUP installed LABELS system)

kov_stories(system system/fennik RUN "${RUN_STORY}" LABELS system)
