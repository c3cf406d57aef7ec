# SPDX-License-Identifier: Apache-2.0
# Tests of the daemon, which each test starts in a tree of its own.
kov_unit_test(owcimomd_test
  SOURCES
    unit/client/LiveDaemon.cpp
    unit/owcimomd/Access_test.cpp
    unit/owcimomd/Account_test.cpp
    unit/owcimomd/Audit_test.cpp
    unit/owcimomd/Background_test.cpp
    unit/owcimomd/CIMHeaders_test.cpp
    unit/owcimomd/ClientNamespaces_test.cpp
    unit/owcimomd/Clients_test.cpp
    unit/owcimomd/Configuration_test.cpp
    unit/owcimomd/Confinement_test.cpp
    unit/owcimomd/Daemon_test.cpp
    unit/owcimomd/Discovery_test.cpp
    unit/owcimomd/FullDisk_test.cpp
    unit/owcimomd/HttpParser_test.cpp
    unit/owcimomd/Namespaces_test.cpp
    unit/owcimomd/ConnectionQuota_test.cpp
    unit/owcimomd/PullContexts_test.cpp
    unit/owcimomd/RawClient.cpp
    unit/owcimomd/Requests_test.cpp
    unit/repository/RepositoryFixture.cpp
  LINKS owcimomd_connections owcimomd_http fennik_namespace openwbem_client openwbem_repository)
target_compile_definitions(owcimomd_test PRIVATE KOV_OWCIMOMD="$<TARGET_FILE:owcimomd>")
add_dependencies(owcimomd_test owcimomd)

kov_unit_test(owcimomd_turns_test SOURCES unit/owcimomd/Turns_test.cpp LINKS owcimomd_http)
