# SPDX-License-Identifier: Apache-2.0
kov_unit_test(repository_test
  SOURCES
    unit/repository/DirectSubject.cpp
    unit/repository/FaultyFiles.cpp
    unit/repository/PowerCut.cpp
    unit/repository/Refusals.cpp
    unit/repository/RepositoryFixture.cpp
    unit/repository/EmbeddedObjects_test.cpp
    unit/repository/FormatUpgrade_test.cpp
    unit/repository/HostileDirectory_test.cpp
    unit/repository/HostilePages_test.cpp
    unit/repository/OpenRepository_test.cpp
    unit/repository/InstancePaths_test.cpp unit/repository/RepositoryAssociations_test.cpp
    unit/repository/RepositoryFile_test.cpp
    unit/repository/RepositoryOperations_test.cpp
    unit/repository/RepositoryScale_test.cpp
    unit/repository/ServedRepository_test.cpp
    unit/repository/UnitOfWork_test.cpp
    unit/repository/WriteAheadLog_test.cpp
    unit/repository/WriteRun_test.cpp
  LINKS openwbem_repository kov_sqlite3)
