# SPDX-License-Identifier: Apache-2.0
# kov-verify's commands. What it finds is told by the stories of the live system.
if(TARGET utilities_verify)
  kov_unit_test(verify_test SOURCES unit/verify/Commands_test.cpp LINKS utilities_verify)
endif()
