# SPDX-License-Identifier: Apache-2.0
# A staged tree with a repository, for tests and fuzz targets.
add_library(fennik_testing STATIC unit/fennik/StagedTree.cpp unit/fennik/TemporaryDirectory.cpp)
target_link_libraries(fennik_testing PUBLIC openwbem_mof openwbem_mofrenderer openwbem_repository)
target_include_directories(fennik_testing PUBLIC "${CMAKE_SOURCE_DIR}")
target_compile_definitions(fennik_testing PRIVATE KOV_SCHEMA="${CMAKE_SOURCE_DIR}/schema")

kov_unit_test(common_test
  SOURCES
    unit/common/ErrorCode_test.cpp unit/common/Execute_test.cpp unit/common/Facilities_test.cpp
  LINKS fennik_common)
target_compile_definitions(common_test PRIVATE KOV_SOURCE="${CMAKE_SOURCE_DIR}")

kov_unit_test(fennik_test
  SOURCES
    unit/cimom/AccountDirectory_test.cpp unit/cimom/FNUtils_test.cpp
    unit/cimom/HardLinkBackup_test.cpp unit/cimom/RepositoryCopy_test.cpp
    unit/cli/FNStartup_test.cpp unit/cli/Options_test.cpp
    unit/namespace/FNNamespaceRegistration_test.cpp unit/namespace/NamespaceUtils_test.cpp
    unit/product/FNConfigFile_test.cpp unit/product/FNProductRegistration_test.cpp
    unit/product/ProductPaths_test.cpp
    unit/undo/FNCleanupActions_test.cpp unit/undo/FileCleanupActions_test.cpp
  LINKS fennik_cli fennik_testing)

# Makes the calls on files of a test's target go through FileFaults.hpp.
function(kov_redirect_file_calls TARGET)
  foreach(CALL open read write fsync close unlink rename)
    target_link_options(${TARGET} PRIVATE "LINKER:--wrap=${CALL}")
  endforeach()
endfunction()

kov_unit_test(provider_test
  SOURCES
    unit/fennik/FileFaults.cpp unit/product/FNProductDeregistration_test.cpp
    unit/provider/CurrentProviders_test.cpp unit/provider/PrivilegeFiles_test.cpp
    unit/provider/ProviderAssociations_test.cpp unit/provider/ProviderDefaults_test.cpp
    unit/provider/ProviderDeregistration_test.cpp unit/provider/ProviderFaults_test.cpp
    unit/provider/ProviderFixture.cpp unit/provider/ProviderList_test.cpp
    unit/provider/ProviderMof_test.cpp unit/provider/ProviderRegistration_test.cpp
    unit/provider/ProviderRepair_test.cpp unit/provider/ProviderValidation_test.cpp
  LINKS fennik_product fennik_testing)
kov_redirect_file_calls(provider_test)
