# SPDX-License-Identifier: Apache-2.0
kov_unit_test(credentials_test
  SOURCES unit/credentials/Hash_test.cpp unit/credentials/PasswordFile_test.cpp
  LINKS credentials)
