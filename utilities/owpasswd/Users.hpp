// SPDX-License-Identifier: Apache-2.0
//
// Who can have a password.
#pragma once

#include "blocxx/String.hpp"
#include "layout/Layout.hpp"

namespace OwPasswd {

using blocxx::String;

/// Throws blocxx::Exception for root and for the daemon's account, under whatever name, and for a
/// user whom this machine does not have. A staged tree is for another machine: there the names
/// "root" and of the account are refused.
void requireUser(const Layout::Tree& tree, const String& user);

/// Whether a key owcimomd.allowed_users of the configuration names the user, as connecting needs.
bool mayConnect(const Layout::Tree& tree, const String& user);

}  // namespace OwPasswd
