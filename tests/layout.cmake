# SPDX-License-Identifier: Apache-2.0
kov_unit_test(layout_test SOURCES unit/layout/Layout_test.cpp LINKS layout blocxx)
target_compile_definitions(layout_test PRIVATE KOV_SOURCE="${CMAKE_SOURCE_DIR}")
