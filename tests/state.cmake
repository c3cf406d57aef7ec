# SPDX-License-Identifier: Apache-2.0
kov_unit_test(state_test
  SOURCES
    unit/fennik/FileFaults.cpp unit/provider/ProviderFixture.cpp unit/state/NoRepair_test.cpp unit/state/StateFaults_test.cpp
    unit/state/StateFixture.cpp unit/state/StateNames_test.cpp unit/state/StateNodes_test.cpp
    unit/state/StateProof_test.cpp unit/state/StateRestoring_test.cpp
    unit/state/StateSaving_test.cpp
  LINKS fennik_state fennik_testing)
kov_redirect_file_calls(state_test)

# Stories of saving and restoring.
if(NOT Python3_FOUND)
  return()
endif()

kov_stories(state system/state RUN "${RUN_COPY_STORY}" LABELS system state)
