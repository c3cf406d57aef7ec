# SPDX-License-Identifier: Apache-2.0
kov_unit_test(blocxx_test
  SOURCES
    unit/blocxx/CmdLineParser_test.cpp
    unit/blocxx/Exception_test.cpp
    unit/blocxx/DurableFile_test.cpp
    unit/blocxx/FileSystem_test.cpp
    unit/blocxx/Format_test.cpp
    unit/blocxx/Interruption_test.cpp
    unit/blocxx/Invariant_test.cpp
    unit/blocxx/Logger_test.cpp
    unit/blocxx/Printable_test.cpp
    unit/blocxx/Process_test.cpp
    unit/blocxx/Program_test.cpp
    unit/blocxx/String_test.cpp
    unit/blocxx/utf8_test.cpp
  LINKS blocxx)
