// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/access/AccessControl.hpp"

#include <unistd.h>

#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr const char* ACL_CLASS = "OpenWBEM_UserACL";

String describe(const User& user) {
    return user.name.empty() ? Format("the user with the id %1", user.uid)
                             : Format("the user \"%1\"", user.name);
}

const char* describe(Right right) {
    switch (right) {
        case Right::READ_INSTANCES:
            return "read instances";
        case Right::WRITE_INSTANCES:
            return "write instances";
        case Right::READ_CLASSES:
            return "read classes";
        case Right::WRITE_CLASSES:
            break;
    }
    return "write classes";
}

String textOf(const CIMInstance& instance, const char* property) {
    return instance.getPropertyValue(property).toString();
}

}  // namespace

AccessControl::AccessControl(RepositoryCIMOMHandle& handle, std::set<String> allowedUsers)
    : m_handle(handle), m_allowedUsers(std::move(allowedUsers)), m_ownUid(geteuid()) {}

bool AccessControl::mayConnect(const User& user) const {
    return user.uid == 0 || user.uid == m_ownUid ||
           (!user.name.empty() && m_allowedUsers.count(user.name) != 0);
}

void AccessControl::requireConnect(const User& user) const {
    if (!mayConnect(user)) {
        OPENWBEM_THROW_CIM(
            ACCESS_DENIED,
            Format("%1 may not connect: no owcimomd.allowed_users names it", describe(user)));
    }
}

void AccessControl::load() {
    std::map<Key, String> rights;
    auto collect = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        const Key key(blocxx::toLower(textOf(instance, "nspace")), textOf(instance, "username"));
        rights[key] += textOf(instance, "capability");
    });
    try {
        m_handle.enumInstances(Layout::SECURITY_NS, ACL_CLASS, collect, E_DEEP, E_NOT_LOCAL_ONLY,
                               E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr);
    } catch (const CIMException& e) {
        // Without the class or its namespace nobody has any rights.
        if (e.getErrNo() != CIMException::INVALID_CLASS &&
            e.getErrNo() != CIMException::INVALID_NAMESPACE) {
            throw;
        }
    }
    m_rights = std::move(rights);
}

bool AccessControl::has(const User& user, const String& ns, Right right) {
    if (user.uid == 0) {
        return true;
    }
    if (user.name.empty()) {
        return false;
    }
    if (!m_rights) {
        load();
    }
    const auto found = m_rights->find(Key(blocxx::toLower(ns), user.name));
    return found != m_rights->end() && found->second.find(static_cast<char>(right)) != String::npos;
}

void AccessControl::require(const User& user, const String& ns, Right right) {
    if (!has(user, ns, right)) {
        OPENWBEM_THROW_CIM(ACCESS_DENIED, Format("%1 may not %2 in the namespace \"%3\"",
                                                 describe(user), describe(right), ns));
    }
}

void AccessControl::noteChange(const String& ns) {
    if (blocxx::equalsIgnoreCase(ns, Layout::SECURITY_NS)) {
        m_rights.reset();
    }
}

}  // namespace OwCimomd
