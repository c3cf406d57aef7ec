# SPDX-License-Identifier: Apache-2.0
kov_unit_test(owshow_test
  SOURCES
    unit/owshow/Listing_test.cpp unit/owshow/Output_test.cpp unit/owshow/ProductReader_test.cpp
    unit/owshow/Tree_test.cpp
  LINKS utilities_owshow fennik_testing)
