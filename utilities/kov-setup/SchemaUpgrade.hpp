// SPDX-License-Identifier: Apache-2.0
//
// Compares what a repository holds with the schema of the installation, and brings it up to date.
// What only the repository has is somebody else's and stays.
#pragma once

#include <variant>

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"
#include "utilities/kov-setup/Schema.hpp"

namespace KovSetup {

using blocxx::StringArray;

/// Something that the schema has and the repository lacks, or has in another form.
struct Difference {
    String nameSpace;
    /// Nothing: the namespace itself.
    std::variant<std::monostate, OpenWBEM::CIMQualifierType, OpenWBEM::CIMClass> declared;
    bool isMissing = true;

    /// Such as: the class "KOV_Product" in the namespace "kov".
    String toString() const;
};

/// All differences in an order in which they can be brought in. Namespaces that products have
/// reserved only get the standard qualifier types that they lack: one of the same name may be the
/// product's own. Throws CIMException.
OpenWBEM::Array<Difference> findDifferences(OpenWBEM::CIMOMHandleIFC& handle, const Schema& schema);

/// Brings them in. The repository refuses what would break objects that are there. Returns a line
/// for each. Throws blocxx::Exception that tells what was attempted and why it was refused; the
/// caller then rolls back.
StringArray bringIn(OpenWBEM::RepositoryCIMOMHandle& repository,
                    const OpenWBEM::Array<Difference>& differences);

}  // namespace KovSetup
