# SPDX-License-Identifier: Apache-2.0
# What hardens the installed programs. Sanitized ones are not hardened.
if(NOT Python3_FOUND OR KOV_SANITIZE)
  return()
endif()

add_test(NAME hardening
  COMMAND "${Python3_EXECUTABLE}" "${CMAKE_CURRENT_SOURCE_DIR}/hardening_test.py"
          "${CMAKE_BINARY_DIR}/compile_commands.json")
set_tests_properties(hardening PROPERTIES
  FIXTURES_REQUIRED installed LABELS system ENVIRONMENT "KOV_INSTALLED=${INSTALLED}")
