# SPDX-License-Identifier: Apache-2.0
# kov-verify's commands, and what it reads at most. What it finds is told by the stories of the live system.
if(TARGET utilities_verify)
  kov_unit_test(verify_test
    SOURCES unit/verify/BoundedHandle_test.cpp unit/verify/Commands_test.cpp
    LINKS utilities_verify fennik_testing)
endif()
