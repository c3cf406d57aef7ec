// SPDX-License-Identifier: Apache-2.0
//
// The password file of an installation, for owpasswd, the only program that changes it.
#pragma once

#include <functional>

#include "credentials/PasswordFile.hpp"
#include "layout/Layout.hpp"

namespace OwPasswd {

using blocxx::String;

/// The file as it is; an empty one when there is none. Throws PasswordFileException.
Credentials::PasswordFile readPasswords(const Layout::Tree& tree);

/// Replaces the file by what `change` makes of it, atomically and durably. On this machine the new
/// file belongs to root, and only the daemon's account may read it besides. Waits for another
/// owpasswd, so nothing that it changes is lost. Throws blocxx::Exception, what `change` throws,
/// and what Interruption::check() throws. Then nothing has changed, unless the directory could not
/// be put on the disk.
void changePasswords(const Layout::Tree& tree,
                     const std::function<void(Credentials::PasswordFile&)>& change);

}  // namespace OwPasswd
