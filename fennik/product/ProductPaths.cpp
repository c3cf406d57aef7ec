// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/ProductPaths.hpp"

#include "blocxx/Format.hpp"
#include "fennik/common/NameRules.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2::ProductPaths {

namespace {

constexpr size_t LONGEST_FILE_NAME = 255;  // in bytes, on every file system in use
constexpr std::string_view USERS = ".allowed_users";
constexpr std::string_view SUFFIX = ".conf";

String problemOfFileName(const String& productName, size_t suffixLength) {
    if (productName.empty()) {
        return "is empty";
    }
    if (productName == "." || productName == "..") {
        return "stands for a directory";
    }
    if (productName.find('/') != String::npos) {
        return "has a slash in it";
    }
    if (productName.find('\0') != String::npos) {
        return "has a NUL in it";
    }
    if (productName.size() > LONGEST_FILE_NAME - suffixLength) {
        return blocxx::Format("is longer than %1 bytes", LONGEST_FILE_NAME - suffixLength);
    }
    if (productName.ends_with(USERS)) {
        return "ends in \".allowed_users\", which is for the files of allowed users";
    }
    return {};
}

}  // namespace

String configDirectory(const String& prefix) {
    return prefix + Layout::DROP_IN_DIRECTORY + "/";
}

String allowedUsersFile(const String& productName, const String& prefix) {
    return configDirectory(prefix) + productName + ".allowed_users.conf";
}

String configSnippet(const String& productName, const String& prefix) {
    return configDirectory(prefix) + productName + ".conf";
}

String problemOfProduct(const String& productName) {
    const String problem = problemOfFileName(productName, USERS.size() + SUFFIX.size());
    return problem.empty() ? NameRules::problemOf(productName) : problem;
}

String problemOfSnippet(const String& productName) {
    return problemOfFileName(productName, SUFFIX.size());
}

bool canNameFile(const String& productName) {
    return !productName.empty() && productName != "." && productName != ".." &&
           productName.find_first_of(std::string_view("/\0", 2)) == String::npos;
}

bool canNameSnippet(const String& productName) {
    return canNameFile(productName) && !productName.ends_with(USERS);
}

}  // namespace KOVNS2::ProductPaths
