// SPDX-License-Identifier: Apache-2.0
//
// The namespaces as instances of CIM_Namespace in the interop namespace. They are not stored: the
// repository lists the namespaces, and creating an instance creates its namespace.
#pragma once

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class NamespaceInstances {
public:
    static constexpr const char* CLASS_NAME = "CIM_Namespace";

    explicit NamespaceInstances(RepositoryCIMOMHandle& handle) : m_handle(handle) {}

    /// Whether this class answers operations on instances of `className` in `ns`.
    static bool serves(const String& ns, const String& className);

    EnumerationPtr<CIMInstance> openInstances(const WantedParts& wanted);
    EnumerationPtr<CIMObjectPath> openInstanceNames();
    /// Throws CIMException NOT_FOUND.
    CIMInstance getInstance(const CIMObjectPath& path, const WantedParts& wanted);
    /// Creates the namespace of its key "Name". Throws CIMException ALREADY_EXISTS, or
    /// INVALID_PARAMETER when the other keys are not those of this object manager.
    CIMObjectPath createInstance(const CIMInstance& instance);
    /// Throws CIMException NOT_SUPPORTED.
    [[noreturn]] static void refuseChange(const char* attempt);

private:
    CIMClass requireClass();
    CIMInstance makeInstance(const CIMClass& cls, const String& name) const;
    Array<CIMInstance> all(const CIMClass& cls);

    RepositoryCIMOMHandle& m_handle;
};

}  // namespace OwCimomd
