# SPDX-License-Identifier: Apache-2.0
kov_bench(repository_bench SOURCES repository_bench.cpp LINKS openwbem_mof openwbem_repository)
