// SPDX-License-Identifier: Apache-2.0
//
// Takes over an installation whose files somebody else has made, such as a staged tree that an
// image or a package has brought to this machine; or tells in what they differ.
#pragma once

#include "blocxx/Process.hpp"
#include "layout/Layout.hpp"
#include "utilities/ownership/Ownership.hpp"

namespace OwUtilities {

// The first two change nothing that is as it should be, and no content. They return a line for each
// change, and throw blocxx::Exception for a file that must not be handed over, such as one with a
// second name; what was changed before stays.

/// Gives the directories of this machine's installation, and the files of its configuration, their
/// owners, modes and access lists.
StringArray adoptDirectories(const Layout::Tree& tree, const blocxx::Process::Identity& account);
/// Gives the repository to the account.
StringArray adoptRepository(const String& directory, const blocxx::Process::Identity& account);

/// Gives a new password file, open at `path`, its owner and its reader. Throws blocxx::Exception.
void adoptPasswordFile(const String& path, const blocxx::File& file,
                       const blocxx::Process::Identity& account);

/// What the first two would change, or refuse because of a second name. Changes nothing. Throws
/// blocxx::Exception when something cannot be looked at.
std::vector<OwnershipDeviation> ownershipDeviations(const Layout::Tree& tree,
                                                    const blocxx::Process::Identity& account);

}  // namespace OwUtilities
