# SPDX-License-Identifier: Apache-2.0
kov_unit_test(cimxml_test
  SOURCES
    unit/cimxml/hostile_test.cpp unit/cimxml/method_test.cpp unit/cimxml/paths_test.cpp
    unit/cimxml/reading_test.cpp unit/cimxml/request_test.cpp unit/cimxml/response_test.cpp
    unit/cimxml/schema_test.cpp unit/cimxml/writing_test.cpp
  LINKS openwbem_cimxml openwbem_mof openwbem_mofrenderer)
