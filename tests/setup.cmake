# SPDX-License-Identifier: Apache-2.0
# Tests of kov-setup and of the schema, with the built program in trees of their own.
if(TARGET kov-setup)
  kov_unit_test(setup_test
    SOURCES
      system/setup/SetupTree.cpp system/setup/fresh_tree_test.cpp
      system/setup/refusals_test.cpp system/setup/schema_test.cpp
      system/setup/upgrade_test.cpp system/setup/upgrade_refusals_test.cpp
      system/setup/UpgradeTree.cpp
    LINKS openwbem_repository openwbem_mof blocxx)
  target_compile_definitions(setup_test PRIVATE
    KOV_SETUP_PROGRAM="$<TARGET_FILE:kov-setup>" KOV_SCHEMA_DIR="${CMAKE_SOURCE_DIR}/schema"
    KOV_VERSION="${PROJECT_VERSION}")
  add_dependencies(setup_test kov-setup)
  kov_unit_test(schema_upgrade_test
    SOURCES
      unit/setup/SchemaUpgrade_test.cpp unit/repository/RepositoryFixture.cpp
      ${CMAKE_SOURCE_DIR}/utilities/kov-setup/SchemaUpgrade.cpp
    LINKS utilities_common openwbem_mof)
endif()
