// SPDX-License-Identifier: Apache-2.0
//
// What the checks share: the installation, its repository, what was found so far, and the names
// that later checks must know.
#pragma once

#include <map>
#include <set>

#include "layout/Layout.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "utilities/common/Budget.hpp"
#include "utilities/kov-verify/Commands.hpp"
#include "utilities/kov-verify/Findings.hpp"
#include "utilities/ownership/Ownership.hpp"

namespace KovVerify {

using OpenWBEM::Array;
using OpenWBEM::CIMInstance;

struct Context {
    Context(const String& root, bool served)
        : prefix(root), tree(root), isServed(served), commands(root) {}

    String prefix;
    Layout::Tree tree;
    bool isServed;  ///< the daemon has the repository
    Commands commands;
    Findings findings;
    /// Deviations of owners, modes and access lists that no check has reported yet, by path.
    std::multimap<String, OwUtilities::OwnershipDeviation> ownership;

    /// For what is read from the repository. Larger than what ten thousand products record.
    OwUtilities::Budget budget{
        "the repository records more than the 64 MiB that kov-verify reads at most, so not "
        "everything was looked at. \"owshow -n kov --mof\" and \"owshow -n root/security --mof\" "
        "show what is there; delete what belongs to no product",
        size_t{64} << 20U};
    OpenWBEM::CIMOMHandleIFCRef handle;
    /// The names of all namespaces, in lower case.
    std::set<String> namespaces;
    /// The users' rights (OpenWBEM_UserACL), by the lower-case name of the namespace.
    std::multimap<String, CIMInstance> rights;
    /// The paths of the privilege files of the providers that were checked.
    std::set<String> privilegeFiles;

    /// Reports what deviates in owner, mode and access list of that path.
    void reportOwnership(const String& path);
    void reportAllOwnership();
    bool hasNamespace(const String& ns) const { return namespaces.contains(blocxx::toLower(ns)); }

private:
    void report(const OwUtilities::OwnershipDeviation& deviation);
};

}  // namespace KovVerify
