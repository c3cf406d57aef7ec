# SPDX-License-Identifier: Apache-2.0
# The tests of operations through a connection, and the tests of connections.
kov_unit_test(client_test
  SOURCES
    unit/client/ClientEnumeration_test.cpp
    unit/client/ClientErrors_test.cpp
    unit/client/ClientPatience_test.cpp
    unit/client/ClientStoring_test.cpp
    unit/client/LiveDaemon.cpp
    unit/client/LiveSubject.cpp
    unit/repository/Refusals.cpp
    unit/repository/RepositoryAssociations_test.cpp
    unit/repository/RepositoryFixture.cpp
    unit/repository/RepositoryOperations_test.cpp
  LINKS openwbem_client openwbem_repository openwbem_rpc)
target_compile_definitions(client_test PRIVATE KOV_OWCIMOMD="$<TARGET_FILE:owcimomd>")
add_dependencies(client_test owcimomd)
