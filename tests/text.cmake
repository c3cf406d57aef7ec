# SPDX-License-Identifier: Apache-2.0
kov_unit_test(text_test
  SOURCES unit/text/Literals_test.cpp unit/text/SourceText_test.cpp
  LINKS openwbem_text)
