// SPDX-License-Identifier: Apache-2.0
//
// Storing objects through any handle: each is created, or changed where it exists. Operations of
// the handle throw their CIMExceptions through.
#pragma once

#include <functional>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM {

/// Objects of one namespace in the order in which they are stored: by kind, then as listed. Refers
/// to the lists.
struct ObjectsToStore {
    const Array<CIMQualifierType>& qualifierTypes;
    const Array<CIMClass>& classes;
    const Array<CIMInstance>& instances;

    size_t size() const noexcept {
        return qualifierTypes.size() + classes.size() + instances.size();
    }
};

/// An object could not be stored, for the reason that the CIMException gives.
class ObjectStoringException : public blocxx::Cloneable<ObjectStoringException, CIMException> {
public:
    ObjectStoringException(size_t index, const CIMException& reason)
        : Cloneable(reason), m_index(index) {}
    /// Which one, counted through the three lists.
    size_t index() const noexcept { return m_index; }

private:
    size_t m_index;
};

/// Nothing is written when the qualifier type exists in this form.
void storeQualifierType(CIMOMHandleIFC& handle, const String& ns,
                        const CIMQualifierType& qualifierType);
/// Nothing is written when the class exists and `isSame` says of it that it is this one.
void storeClass(CIMOMHandleIFC& handle, const String& ns, const CIMClass& cls,
                const std::function<bool(const CIMClass& existing)>& isSame);
/// A property that the instance leaves out gets the default of its class, also where the instance
/// exists.
void storeInstance(CIMOMHandleIFC& handle, const String& ns, const CIMInstance& instance);

/// Stores them one after the other. Throws ObjectStoringException; those before it are stored then.
void storeObjects(CIMOMHandleIFC& handle, const String& ns, const ObjectsToStore& objects);

}  // namespace OpenWBEM
