// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/ObjectStoring.hpp"

#include "openwbem/model/InstanceCompletion.hpp"

namespace OpenWBEM {

namespace {

/// Runs `create`; false when the object exists already.
template <class Create>
[[nodiscard]] bool created(Create create) {
    try {
        create();
        return true;
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::ALREADY_EXISTS) {
            throw;
        }
        return false;
    }
}

CIMClass wholeClass(CIMOMHandleIFC& handle, const String& ns, const String& name) {
    return handle.getClass(ns, name, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                           E_INCLUDE_CLASS_ORIGIN);
}

}  // namespace

void storeQualifierType(CIMOMHandleIFC& handle, const String& ns,
                        const CIMQualifierType& qualifierType) {
    try {
        if (handle.getQualifierType(ns, qualifierType.getName()) == qualifierType) {
            return;
        }
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
    }
    handle.setQualifierType(ns, qualifierType);
}

void storeClass(CIMOMHandleIFC& handle, const String& ns, const CIMClass& cls,
                const std::function<bool(const CIMClass& existing)>& isSame) {
    if (!created([&] { handle.createClass(ns, cls); }) &&
        !isSame(wholeClass(handle, ns, cls.getName()))) {
        handle.modifyClass(ns, cls);
    }
}

void storeInstance(CIMOMHandleIFC& handle, const String& ns, const CIMInstance& instance) {
    if (!created([&] { handle.createInstance(ns, instance); })) {
        const CIMClass cls = wholeClass(handle, ns, instance.getClassName());
        handle.modifyInstance(ns, completeInstance(instance, cls));
    }
}

void storeObjects(CIMOMHandleIFC& handle, const String& ns, const ObjectsToStore& objects) {
    size_t index = 0;
    try {
        for (const CIMQualifierType& qualifierType : objects.qualifierTypes) {
            storeQualifierType(handle, ns, qualifierType);
            ++index;
        }
        for (const CIMClass& cls : objects.classes) {
            storeClass(handle, ns, cls, [&](const CIMClass& existing) { return existing == cls; });
            ++index;
        }
        for (const CIMInstance& instance : objects.instances) {
            storeInstance(handle, ns, instance);
            ++index;
        }
    } catch (const CIMException& e) {
        throw ObjectStoringException(index, e);
    }
}

}  // namespace OpenWBEM
