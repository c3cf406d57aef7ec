# SPDX-License-Identifier: Apache-2.0
# Runs the pages of docs/ that are read as a session, command by command, in a sandbox.
if(NOT Python3_FOUND)
  return()
endif()

# kov_page(NAME PAGE [COMMAND]): the COMMAND prepares the system for the page.
function(kov_page NAME PAGE)
  add_test(NAME pages.${NAME}
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/faults/in_installed.sh" python3 -B
            "${CMAKE_CURRENT_SOURCE_DIR}/pages/run_page.py" "${CMAKE_SOURCE_DIR}/${PAGE}" ${ARGN})
  # The pages name paths below the checkout.
  set_tests_properties(pages.${NAME} PROPERTIES WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}"
    FIXTURES_REQUIRED installed LABELS system TIMEOUT 300 SKIP_RETURN_CODE 77
    ENVIRONMENT "KOV_INSTALLED=${INSTALLED}")
endfunction()

set(SAMPLE "tarvo-owcimomd_init start && '${CMAKE_SOURCE_DIR}/examples/sample/install.sh'")
kov_page(readme README.md)
kov_page(tutorial docs/tutorial.md)
kov_page(administration docs/administration.md "${SAMPLE}")
kov_page(failed_run docs/failed-run.md "${SAMPLE}")
kov_page(mistakes docs/mistakes.md "${SAMPLE}")
kov_page(clients docs/clients.md "'${CMAKE_CURRENT_SOURCE_DIR}/pages/prepare_clients.sh'")
