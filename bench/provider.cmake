# SPDX-License-Identifier: Apache-2.0
find_package(SQLite3 REQUIRED)
kov_bench(provider_bench SOURCES provider_bench.cpp
  LINKS openwbem_mof openwbem_repository SQLite::SQLite3)
