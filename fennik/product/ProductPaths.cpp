// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/ProductPaths.hpp"

namespace KOVNS2::ProductPaths {

String configDirectory(const String& prefix) {
    return prefix + "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/";
}

String allowedUsersFile(const String& productName, const String& prefix) {
    return configDirectory(prefix) + productName + ".allowed_users.conf";
}

String configSnippet(const String& productName, const String& prefix) {
    return configDirectory(prefix) + productName + ".conf";
}

bool canNameFile(const String& productName) {
    return !productName.empty() && productName != "." && productName != ".." &&
           productName.find_first_of(std::string_view("/\0", 2)) == String::npos;
}

bool canNameSnippet(const String& productName) {
    return canNameFile(productName) && !productName.ends_with(".allowed_users");
}

}  // namespace KOVNS2::ProductPaths
