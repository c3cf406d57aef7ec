# SPDX-License-Identifier: Apache-2.0
kov_unit_test(blocxx_test
  SOURCES
    unit/blocxx/CmdLineParser_test.cpp
  LINKS blocxx)
