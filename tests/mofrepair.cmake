# SPDX-License-Identifier: Apache-2.0
kov_unit_test(mofrepair_test SOURCES unit/mofrepair/FNHacks_test.cpp LINKS fennik_mofrepair)
