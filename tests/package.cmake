# SPDX-License-Identifier: Apache-2.0
# Packages this build, and lets stories install, upgrade, remove and purge the package, each on a machine
# of its own (tests/package/machine). They are skipped where that cannot be done. scripts/package alone
# builds the package from nothing, which takes minutes.
if(NOT Python3_FOUND OR KOV_SANITIZE OR KOV_FUZZ)
  return()
endif()

set(PACKAGE_TESTS "${CMAKE_CURRENT_SOURCE_DIR}/package")
set(PACKAGE_DIR "${CMAKE_CURRENT_BINARY_DIR}/package")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PACKAGE_TESTS}/package_stories.py")
execute_process(COMMAND "${Python3_EXECUTABLE}" -B "${PACKAGE_TESTS}/package_stories.py" --list
                OUTPUT_VARIABLE STORIES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" STORIES "${STORIES}")

add_test(NAME package.build
  COMMAND "${PACKAGE_TESTS}/build_test.sh" "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}" "${PACKAGE_DIR}")
set_tests_properties(package.build PROPERTIES
  FIXTURES_SETUP package LABELS "system;package" TIMEOUT 600 SKIP_RETURN_CODE 77)

add_test(NAME package.dependencies
  COMMAND "${Python3_EXECUTABLE}" -B "${PACKAGE_TESTS}/dependencies_test.py" "${CMAKE_SOURCE_DIR}")
set_tests_properties(package.dependencies PROPERTIES LABELS "system;package")

foreach(STORY ${STORIES})
  string(REPLACE "test_" "" NAME "${STORY}")
  add_test(NAME "package.${NAME}"
    COMMAND "${PACKAGE_TESTS}/machine" "${PACKAGE_DIR}" "${Python3_EXECUTABLE}" -B
            "${PACKAGE_DIR}/package_stories.py" "${PACKAGE_DIR}" "${STORY}")
  set_tests_properties("package.${NAME}" PROPERTIES
    FIXTURES_REQUIRED package LABELS "system;package" TIMEOUT 300 SKIP_RETURN_CODE 77)
endforeach()
