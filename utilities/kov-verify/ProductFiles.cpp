// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/ProductFiles.hpp"

#include "blocxx/Format.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "utilities/kov-verify/PlacedFile.hpp"

namespace KovVerify {

namespace ProductPaths = KOVNS2::ProductPaths;
using blocxx::Format;

namespace {

constexpr std::string_view USERS_ENDING = ".allowed_users.conf";

StringArray usersOf(const CIMInstance& product) {
    const OpenWBEM::CIMValue users = product.getPropertyValue("Usernames");
    return users.isNull() ? StringArray() : users.getArray<String>();
}

void checkAllowedUsers(Context& context, const String& product, const StringArray& users) {
    const String path = ProductPaths::allowedUsersFile(product, context.prefix);
    String expected = KOVNS2::allowedUsersLine(users);
    const PlacedFile file(path);
    if (!file.holds(expected)) {
        expected.pop_back();  // the line feed, which printf writes
        context.findings.add(
            file.isFile() ? String(Format("\"%1\" does not have exactly the product's users", path))
                          : file.problem(),
            file.replacement(expected));
    }
    context.reportOwnership(path);
}

void checkSnippet(Context& context, const String& product) {
    const String path = ProductPaths::configSnippet(product, context.prefix);
    const PlacedFile snippet(path);
    if (!snippet.isMissing() && !snippet.isFile()) {
        context.findings.add(snippet.problem(), snippet.removal());
    }
    context.reportOwnership(path);
}

}  // namespace

void checkProductFiles(Context& context, const CIMInstance& product) {
    const String name = product.getPropertyValue("Name").toString();
    if (const String problem = ProductPaths::problemOfProduct(name); !problem.empty()) {
        context.findings.add(
            Format("no product can have the name \"%1\": it %2", name, problem),
            context.commands.deleteInstances({OpenWBEM::CIMObjectPath(Layout::KOV_NS, product)}));
        return;
    }
    for (const String& user : usersOf(product)) {
        if (const String problem = KOVNS2::NameRules::problemOfUser(user); !problem.empty()) {
            context.findings.add(Format("no user can have the name \"%1\": it %2", user, problem),
                                 context.commands.deleteInstances(
                                     {OpenWBEM::CIMObjectPath(Layout::KOV_NS, product)}));
            return;
        }
    }
    checkAllowedUsers(context, name, usersOf(product));
    if (ProductPaths::canNameSnippet(name)) {
        checkSnippet(context, name);
    }
}

void checkForeignUsers(Context& context, const std::set<String>& products) {
    const String directory = ProductPaths::configDirectory(context.prefix);
    for (const String& name : namesIn(directory)) {
        if (name.ends_with(USERS_ENDING) && !name.starts_with('.') &&
            !products.contains(name.substr(0, name.size() - USERS_ENDING.size()))) {
            const PlacedFile file(directory + name);
            context.findings.add(
                Format("\"%1\" is left over: there is no such product, and its users may connect",
                       directory + name),
                file.removal());
        }
    }
}

}  // namespace KovVerify
