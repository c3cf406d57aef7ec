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

    /// Whether the operation is on instances of CIM_Namespace in the interop namespace, or deletes
    /// that class.
    static bool serves(const OperationCall& call);

    // These carry out such an operation. They throw its CIMExceptions.

    /// createInstance creates the namespace of the key "Name". It throws ALREADY_EXISTS, or
    /// INVALID_PARAMETER when the other keys are not those of this object manager. Namespaces can
    /// neither be changed nor deleted: NOT_SUPPORTED. Nor can the class: CLASS_HAS_INSTANCES.
    OperationResult carryOut(const OperationCall& call);
    AnyEnumeration open(const OperationCall& call);

private:
    CIMClass requireClass();
    CIMInstance makeInstance(const CIMClass& cls, const String& name) const;
    Array<CIMInstance> all(const CIMClass& cls);
    EnumerationPtr<CIMInstance> openInstances(const WantedParts& wanted);
    EnumerationPtr<CIMObjectPath> openInstanceNames();
    CIMInstance getInstance(const CIMObjectPath& path, const WantedParts& wanted);
    CIMObjectPath createInstance(const CIMInstance& instance);

    RepositoryCIMOMHandle& m_handle;
};

}  // namespace OwCimomd
