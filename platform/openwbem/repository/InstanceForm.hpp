// SPDX-License-Identifier: Apache-2.0
//
// The form in which instances are stored and in which they are handed out.
#pragma once

#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

/// What an operation wants to see of an instance (DSP0200 5.3.2.2, 5.3.2.4).
struct InstanceForm {
    bool localOnly;
    bool includeQualifiers;
    bool includeClassOrigin;
    const StringArray* propertyList;
    const CIMClass* onlyPropertiesOf;  ///< null: all properties

    /// Whether the instance's class has something to add to what is stored.
    bool needsClass() const noexcept {
        return localOnly || includeQualifiers || includeClassOrigin;
    }
    /// `cls` is the instance's class; it may be null when it is not needed.
    CIMInstance of(CIMInstance stored, const CIMClass* cls) const;
};

/// The instance with each reference complete: in the namespace `ns` where it names none, and with
/// keys in the spelling and types of the referenced class where that is known.
CIMInstance withResolvedReferences(RepositoryStore& store, CIMInstance instance, const String& ns);
/// The same for one path, and all the way down for the paths in its keys. Throws CIMException
/// INVALID_PARAMETER when they stand in each other deeper than a value may.
CIMObjectPath resolvedReference(RepositoryStore& store, CIMObjectPath path, const String& ns);

}  // namespace OpenWBEM
