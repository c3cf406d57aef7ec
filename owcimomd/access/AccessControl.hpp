// SPDX-License-Identifier: Apache-2.0
//
// Who may do what. Users are those that the kernel names for a connection. root may do everything;
// who else may connect says the configuration, and what they may do in a namespace say the
// instances of OpenWBEM_UserACL in root/security.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <set>

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

struct User {
    uid_t uid;
    String name;  ///< empty when the system knows none
};

/// What a right is for, as the letters of OpenWBEM_UserACL.capability say it.
enum class Right : char {
    READ_INSTANCES = 'r',
    WRITE_INSTANCES = 'w',
    READ_CLASSES = 'R',
    WRITE_CLASSES = 'W'
};

class AccessControl {
public:
    static constexpr const char* SECURITY_NAMESPACE = "root/security";

    AccessControl(RepositoryCIMOMHandle& handle, std::set<String> allowedUsers);

    bool mayConnect(const User& user) const;
    /// Throws CIMException ACCESS_DENIED.
    void requireConnect(const User& user) const;

    bool has(const User& user, const String& ns, Right right);
    /// Throws CIMException ACCESS_DENIED.
    void require(const User& user, const String& ns, Right right);

    /// The rights may have changed: something was written to that namespace.
    void noteChange(const String& ns);

private:
    using Key = std::pair<String, String>;  // namespace in lower case, user
    void load();

    RepositoryCIMOMHandle& m_handle;
    std::set<String> m_allowedUsers;
    uid_t m_ownUid;
    std::optional<std::map<Key, String>> m_rights;
};

}  // namespace OwCimomd
