// SPDX-License-Identifier: Apache-2.0
//
// The instances in the interop namespace that the daemon computes: the namespaces, the object
// manager itself and its registered profile, by which clients find out what they speak to. They are
// not stored. Enumerating their superclasses does not find them.
#pragma once

#include <optional>

#include "owcimomd/operations/ComputedClasses.hpp"

namespace OwCimomd {

class ComputedInstances {
public:
    explicit ComputedInstances(RepositoryCIMOMHandle& handle) : m_handle(handle) {}

    /// Whether the operation is on such instances, or deletes their class. Where others of a class
    /// can be stored, an operation on one of these is the repository's. A stored one that has the
    /// path of a computed one takes its place.
    bool serves(const OperationCall& call);

    // These carry out such an operation. They throw its CIMExceptions.

    /// Creating an instance of CIM_Namespace creates the namespace of the key "Name". It throws
    /// ALREADY_EXISTS, or INVALID_PARAMETER when the other keys are not those of this object
    /// manager. Every other change throws NOT_SUPPORTED. The classes cannot be deleted:
    /// CLASS_HAS_INSTANCES.
    OperationResult carryOut(const OperationCall& call);
    /// Enumerations have the stored instances, too.
    AnyEnumeration open(const OperationCall& call);

private:
    std::optional<CIMClass> findClass(const ComputedClass& computed);
    CIMClass requireClass(const ComputedClass& computed);
    bool isStored(const CIMObjectPath& path);
    Array<CIMInstance> allOf(const ComputedClass& computed, const CIMClass& cls);
    Array<CIMInstance> allOf(const ComputedClass& computed);  ///< none without the class
    CIMInstance getInstance(const ComputedClass& computed, const CIMObjectPath& path,
                            const WantedParts& wanted);
    template <class T, class Form>
    AnyEnumeration withStored(const OperationCall& call, const Array<CIMInstance>& instances,
                              Form form);

    RepositoryCIMOMHandle& m_handle;
};

}  // namespace OwCimomd
