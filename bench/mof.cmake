# SPDX-License-Identifier: Apache-2.0
kov_bench(mof_bench SOURCES mof_bench.cpp LINKS openwbem_mof)
