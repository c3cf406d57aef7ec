# SPDX-License-Identifier: Apache-2.0
kov_unit_test(wire_test
  SOURCES unit/wire/CIMCodec_test.cpp unit/wire/LocalSocket_test.cpp
    unit/wire/Operation_test.cpp
  LINKS openwbem_wire openwbem_rpc)
