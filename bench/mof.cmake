# SPDX-License-Identifier: Apache-2.0
kov_bench(mof_bench SOURCES mof_bench.cpp LINKS openwbem_mof)
kov_bench(token_pass SOURCES token_pass.cpp LINKS openwbem_mof)
