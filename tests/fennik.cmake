# SPDX-License-Identifier: Apache-2.0
# The staged tree with its repository that tests and fuzz targets work in.
add_library(fennik_testing STATIC unit/fennik/StagedTree.cpp unit/fennik/TemporaryDirectory.cpp)
target_link_libraries(fennik_testing PUBLIC openwbem_mof openwbem_repository)
target_include_directories(fennik_testing PUBLIC "${CMAKE_SOURCE_DIR}")
target_compile_definitions(fennik_testing PRIVATE KOV_SCHEMA="${CMAKE_SOURCE_DIR}/schema")

kov_unit_test(common_test
  SOURCES unit/common/Execute_test.cpp unit/common/Facilities_test.cpp
  LINKS fennik_common)

kov_unit_test(fennik_test
  SOURCES
    unit/fennik/AccountDirectory_test.cpp unit/fennik/FNCleanupActions_test.cpp
    unit/fennik/FNConfigFile_test.cpp
    unit/fennik/FNNamespaceRegistration_test.cpp unit/fennik/FNProductRegistration_test.cpp
    unit/fennik/FNStartup_test.cpp unit/fennik/FNUtils_test.cpp
    unit/fennik/FileCleanupActions_test.cpp unit/fennik/KeptFiles_test.cpp
    unit/fennik/NamespaceUtils_test.cpp
    unit/fennik/Options_test.cpp unit/fennik/ProductPaths_test.cpp unit/fennik/RepositoryCopy_test.cpp
  LINKS fennik_cli fennik_testing)

kov_unit_test(provider_test
  SOURCES
    unit/fennik/CurrentProviders_test.cpp unit/fennik/FNProductDeregistration_test.cpp
    unit/fennik/FileFaults.cpp unit/fennik/PrivilegeFiles_test.cpp
    unit/fennik/ProviderAssociations_test.cpp unit/fennik/ProviderDefaults_test.cpp
    unit/fennik/ProviderDeregistration_test.cpp unit/fennik/ProviderFaults_test.cpp
    unit/fennik/ProviderFixture.cpp unit/fennik/ProviderList_test.cpp
    unit/fennik/ProviderMof_test.cpp unit/fennik/ProviderRegistration_test.cpp
    unit/fennik/ProviderRepair_test.cpp
    unit/fennik/ProviderValidation_test.cpp
  LINKS fennik_product fennik_testing)
foreach(CALL open read write fsync close unlink rename)  # see FileFaults.hpp
  target_link_options(provider_test PRIVATE "LINKER:--wrap=${CALL}")
endforeach()
