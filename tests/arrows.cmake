# SPDX-License-Identifier: Apache-2.0
find_package(Python3 3.9 COMPONENTS Interpreter)
if(Python3_FOUND)
  add_test(NAME arrows.EveryRoomIncludesOnlyWhatItLinks
    COMMAND "${Python3_EXECUTABLE}" "${CMAKE_CURRENT_SOURCE_DIR}/arrows_test.py" "${CMAKE_SOURCE_DIR}")
  set_tests_properties(arrows.EveryRoomIncludesOnlyWhatItLinks PROPERTIES LABELS unit)
endif()
