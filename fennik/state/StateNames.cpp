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

String spaceFault(const String& name) {
    if (trimmed(name) == name) {
        return {};
    }
    return String(withoutLeadingSpace(name) == name ? "ends" : "begins") + " with white space";
}

/// `text` without white space that is layout.
String laidOut(const String& text) {
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
            refuse(productName, userFault(laidOut(user.getText())));
        }
    }
}

void checkProduct(const XMLNode& product) {
    const XMLNode nameNode = product.findChild(NAME);
    if (!nameNode) {
        return;
    }
    const String name = laidOut(nameNode.getText());
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
    if (const String fault = spaceFault(name); !fault.empty()) {
        return "its name " + fault;
    }
    // Such a product's snippet would be the allowed users file of another product.
    if (ProductPaths::canNameFile(name) && !ProductPaths::canNameSnippet(name)) {
        return "its name ends in \".allowed_users\"";
    }
    const String problem = ProductPaths::problemOfProduct(name);
    return problem.empty() ? problem : "its name " + problem;
}

String userFault(const String& name) {
    const String spaces = spaceFault(name);
    const String fault = spaces.empty() ? NameRules::problemOfUser(name) : spaces;
    return fault.empty() ? fault : String(Format("its user \"%1\" %2", name, fault));
}

String namespaceFault(const String& name) {
    const String fault = spaceFault(name);
    return fault.empty() ? fault : String(Format("its namespace \"%1\" %2", name, fault));
}

void checkSavedNames(const XMLNode& products) {
    for (const XMLNode& product : products.getChildren()) {
        checkProduct(product);
    }
}

}  // namespace KOVNS2::StateNames
