// SPDX-License-Identifier: Apache-2.0
//
// Creating, deleting and finding CIM namespaces, whatever kind of handle there is.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The error code is always -1.
BLOCXX_DECLARE_EXCEPTION(NamespaceUtils)

class NamespaceUtils : public blocxx::IntrusiveCountableBase {
public:
    /// Throws NamespaceUtilsException.
    virtual void CreateNamespace(const blocxx::String& ns) = 0;
    /// A namespace that is not there is logged, not an error. Throws NamespaceUtilsException.
    virtual void DeleteNamespace(const blocxx::String& ns) = 0;
    /// Whether there is a namespace of exactly that name, letter case included.
    virtual bool NamespaceExists(const blocxx::String& ns) = 0;
};
using NamespaceUtilsRef = blocxx::IntrusiveReference<NamespaceUtils>;

/// The namespace operations for that kind of handle. Throws NamespaceUtilsException for a null
/// handle and for a kind that has none.
NamespaceUtilsRef GetNSUtils(const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2
