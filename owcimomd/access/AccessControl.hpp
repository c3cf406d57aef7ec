// SPDX-License-Identifier: Apache-2.0
//
// Who may do what. A user is the peer that the kernel names for a connection. root may do
// everything. The configuration says who else may connect; the OpenWBEM_UserACL instances in
// root/security say what each of them may do in a namespace.
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

/// A right in a namespace, by its letter in OpenWBEM_UserACL.capability.
enum class Right : char {
    READ_INSTANCES = 'r',
    WRITE_INSTANCES = 'w',
    READ_CLASSES = 'R',
    WRITE_CLASSES = 'W'
};

class AccessControl {
public:
    AccessControl(RepositoryCIMOMHandle& handle, std::set<String> allowedUsers);

    bool mayConnect(const User& user) const;
    /// Throws CIMException ACCESS_DENIED.
    void requireConnect(const User& user) const;

    bool has(const User& user, const String& ns, Right right);
    /// Throws CIMException ACCESS_DENIED.
    void require(const User& user, const String& ns, Right right);

    /// Must be called for each change in namespace `ns`: rights are read again when it holds them.
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
