# SPDX-License-Identifier: Apache-2.0
kov_unit_test(mofrenderer_test
  SOURCES unit/mof/renderer_round_trip_test.cpp unit/mof/renderer_text_test.cpp
  LINKS openwbem_mof openwbem_mofrenderer)
