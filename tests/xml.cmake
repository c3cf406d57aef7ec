# SPDX-License-Identifier: Apache-2.0
kov_unit_test(xml_test
  SOURCES unit/xml/XMLNode_test.cpp unit/xml/hostile_test.cpp unit/xml/parsing_test.cpp
          unit/xml/printing_test.cpp
  LINKS openwbem_xml)
