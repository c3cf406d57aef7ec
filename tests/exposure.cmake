# SPDX-License-Identifier: Apache-2.0
if(Python3_FOUND)
  add_test(NAME exposure.TheUnitScoresBelowTwo
    COMMAND "${Python3_EXECUTABLE}" "${CMAKE_CURRENT_SOURCE_DIR}/exposure_test.py"
            "${CMAKE_SOURCE_DIR}/packaging/systemd/tarvo-owcimomd.service")
  set_tests_properties(exposure.TheUnitScoresBelowTwo PROPERTIES LABELS unit SKIP_RETURN_CODE 77)
endif()
