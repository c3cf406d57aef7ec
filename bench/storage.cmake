# SPDX-License-Identifier: Apache-2.0
find_package(SQLite3 REQUIRED)
kov_bench(storage_bench SOURCES storage_bench.cpp
  LINKS openwbem_mof openwbem_wire SQLite::SQLite3)
