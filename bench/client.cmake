# SPDX-License-Identifier: Apache-2.0
kov_bench(client_bench SOURCES client_bench.cpp LINKS openwbem_client openwbem_repository)
target_compile_definitions(client_bench PRIVATE KOV_OWCIMOMD="$<TARGET_FILE:owcimomd>")
add_dependencies(client_bench owcimomd)
