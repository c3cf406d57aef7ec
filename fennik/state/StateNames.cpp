// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateNames.hpp"

#include "blocxx/Format.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "fennik/state/StateFormat.hpp"

namespace KOVNS2::StateNames {

using namespace StateFormat;
using blocxx::Format;

namespace {

/// `text` without white space that is layout.
String withoutLayout(const String& text) {
    const String name = trimmed(text);
    const size_t begin = text.find(name);
    const auto isLayout = [](const String& space) { return space.find('\n') != String::npos; };
    const String before = text.substr(0, begin);
    const String after = text.substr(begin + name.size());
    return (isLayout(before) ? String() : before) + name + (isLayout(after) ? String() : after);
}

/// Throws with the exit status of registering a product with a bad name, unless `fault` is empty.
void refuse(const String& productName, const String& fault, CallSite place = CallSite::here()) {
    if (!fault.empty()) {
        throw FennikException(
            Format("The product \"%1\" of the saved state cannot be restored: %2. "
                   "Correct the name in the state file, or take the product out of it.",
                   productName, fault),
            ErrorCode::ALLOWED_USERS_NOT_CREATED, nullptr, place);
    }
}

void checkUsers(const XMLNode& list, const char* entryName, const String& productName) {
    for (const XMLNode& entry : list ? list.getChildren() : Array<XMLNode>()) {
        const XMLNode user = entry.getName() == entryName ? entry : entry.findChild(entryName);
        if (user) {
            refuse(productName, userFault(withoutLayout(user.getText())));
        }
    }
}

void checkProduct(const XMLNode& product) {
    const XMLNode nameNode = product.findChild(NAME);
    if (!nameNode) {
        return;
    }
    const String name = withoutLayout(nameNode.getText());
    refuse(name, productFault(name));
    checkUsers(product.findChild(ALLOWED_USERS), USER_NAME, name);
    if (const XMLNode registration = product.findChild(NAMESPACE_REGISTRATION)) {
        for (const XMLNode& ns : registration.getChildren()) {
            checkUsers(ns, USER_NAME, name);
        }
    }
}

}  // namespace

String productFault(const String& name) {
    const String problem = ProductPaths::problemOfProduct(name);
    return problem.empty() ? problem : "its name " + problem;
}

String userFault(const String& name) {
    const String problem = NameRules::problemOfUser(name);
    return problem.empty() ? problem : String(Format("its user \"%1\" %2", name, problem));
}

String namespaceFault(const String& name) {
    const String problem = NameRules::problemOf(name);
    return problem.empty() ? problem : String(Format("its namespace \"%1\" %2", name, problem));
}

void checkSavedNames(const XMLNode& products) {
    for (const XMLNode& product : products.getChildren()) {
        checkProduct(product);
    }
}

}  // namespace KOVNS2::StateNames
