# SPDX-License-Identifier: Apache-2.0
# Runs the install and uninstall scripts of the examples with the installed tool.
if(TARGET fennik AND TARGET kov-setup)
  add_test(NAME examples.sample
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/system/examples/sample_test.sh"
            "${CMAKE_SOURCE_DIR}" "${CMAKE_CURRENT_BINARY_DIR}/installed")
  set_tests_properties(examples.sample PROPERTIES
    FIXTURES_REQUIRED installed LABELS system TIMEOUT 300)
endif()
if(TARGET fennik AND TARGET kov-setup AND TARGET owcimomd)
  add_test(NAME examples.sample_live
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/system/examples/sample_live_test.sh"
            "${CMAKE_SOURCE_DIR}" "${CMAKE_CURRENT_BINARY_DIR}/installed")
  set_tests_properties(examples.sample_live PROPERTIES
    FIXTURES_REQUIRED installed LABELS "system;live" TIMEOUT 300 SKIP_RETURN_CODE 77)
endif()
