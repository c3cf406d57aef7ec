# SPDX-License-Identifier: Apache-2.0
kov_unit_test(fennik_test
  SOURCES
    unit/fennik/FNCleanupActions_test.cpp unit/fennik/FNConfigFile_test.cpp
    unit/fennik/FNNamespaceRegistration_test.cpp unit/fennik/FNProductRegistration_test.cpp
    unit/fennik/FNStartup_test.cpp unit/fennik/FNUtils_test.cpp
    unit/fennik/FileCleanupActions_test.cpp unit/fennik/KeptFiles_test.cpp
    unit/fennik/NamespaceUtils_test.cpp
    unit/fennik/Options_test.cpp unit/fennik/ProductPaths_test.cpp unit/fennik/RepositoryCopy_test.cpp
    unit/fennik/StagedTree.cpp unit/fennik/TemporaryDirectory.cpp
  LINKS fennik_cli)
