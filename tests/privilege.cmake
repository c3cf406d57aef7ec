# SPDX-License-Identifier: Apache-2.0
kov_unit_test(privilege_test
  SOURCES unit/privilege/errors_test.cpp unit/privilege/hostile_test.cpp
          unit/privilege/language_test.cpp
  LINKS openwbem_privilege openwbem_mofrenderer)
