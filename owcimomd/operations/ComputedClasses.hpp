// SPDX-License-Identifier: Apache-2.0
//
// The classes of the interop namespace whose instances the daemon computes, and those instances.
#pragma once

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

struct ComputedClass {
    const char* name;
    const char* noun;           ///< "a namespace"
    const char* whyItIsNeeded;  ///< why the class cannot be deleted
    /// Whether other instances of the class can be stored. If not, stored ones do not count.
    bool canStoreOthers;
    /// The instances, with those of their properties that are not null.
    Array<CIMInstance> (*instances)(RepositoryCIMOMHandle& handle);
    /// Carries createInstance out: returns the path. Null when none can be created.
    CIMObjectPath (*create)(RepositoryCIMOMHandle& handle, const CIMClass& cls,
                            const CIMInstance& instance);
};

/// Null when the daemon computes no instances of the class. Compares without regard to case.
const ComputedClass* findComputedClass(std::string_view name) noexcept;

}  // namespace OwCimomd
