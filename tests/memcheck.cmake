# SPDX-License-Identifier: Apache-2.0
# What valgrind watches: the unit tests, which kov_unit_test gives KOV_MEMCHECK as an emulator, and the
# programs that the stories run.
if(NOT KOV_VALGRIND)
  return()
endif()

set(MEMCHECK_REPORTS "${CMAKE_BINARY_DIR}/reports")
set(KOV_MEMCHECK "${CMAKE_CURRENT_SOURCE_DIR}/memcheck/under_valgrind" "${MEMCHECK_REPORTS}")
file(MAKE_DIRECTORY "${MEMCHECK_REPORTS}")

if(Python3_FOUND)
  add_test(NAME system.under_valgrind
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/memcheck/wrap_programs" "${INSTALLED}" "${MEMCHECK_REPORTS}")
  set_tests_properties(system.under_valgrind PROPERTIES
    FIXTURES_SETUP installed DEPENDS system.install LABELS system)
endif()
