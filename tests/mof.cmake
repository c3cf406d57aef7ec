# SPDX-License-Identifier: Apache-2.0
kov_unit_test(mof_test
  SOURCES
    unit/mof/FakeHandle.cpp unit/mof/NodeArena_test.cpp
    unit/mof/compiler_aliases_test.cpp unit/mof/compiler_defaults_test.cpp
    unit/mof/compiler_embedded_test.cpp
    unit/mof/compiler_errors_test.cpp unit/mof/compiler_hostile_test.cpp
    unit/mof/compiler_includes_test.cpp unit/mof/compiler_interruption_test.cpp
    unit/mof/compiler_language_test.cpp
    unit/mof/compiler_lookup_test.cpp unit/mof/compiler_schema_test.cpp
  LINKS openwbem_mof openwbem_mofrenderer)
kov_unit_test(owmofc_test
  SOURCES
    unit/owmofc/ContentWriter_test.cpp ${CMAKE_SOURCE_DIR}/utilities/owmofc/ContentWriter.cpp
  LINKS utilities_common openwbem_mof)
