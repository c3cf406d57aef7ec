// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/ProductPaths.hpp"

#include <gtest/gtest.h>

namespace KOVNS2::Testing {
namespace {

using blocxx::String;

TEST(ProductPaths, PrefixIsPutInFrontAsPlainText) {
    EXPECT_EQ(ProductPaths::allowedUsersFile("sample", ""),
              "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample.allowed_users.conf");
    EXPECT_EQ(ProductPaths::configSnippet("sample", "stage"),
              "stage/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample.conf");
}

TEST(ProductPaths, OnlyASinglePathComponentNamesAFile) {
    for (const String name : {"a", "...", "-", "a b", "a\nb", ".hidden", "\xff"}) {
        EXPECT_TRUE(ProductPaths::canNameFile(name)) << name;
    }
    for (const String& name :
         {String(), String("."), String(".."), String("a/b"), String("/"), String("a\0b", 3)}) {
        EXPECT_FALSE(ProductPaths::canNameFile(name)) << name;
    }
}

TEST(ProductPaths, ASnippetIsNeverAnAllowedUsersFile) {
    EXPECT_TRUE(ProductPaths::canNameSnippet("sample"));
    EXPECT_TRUE(ProductPaths::canNameSnippet("allowed_users"));
    EXPECT_FALSE(ProductPaths::canNameSnippet("sample.allowed_users"));
    EXPECT_FALSE(ProductPaths::canNameSnippet("a/b"));
}

}  // namespace
}  // namespace KOVNS2::Testing
