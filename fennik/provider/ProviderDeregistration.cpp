// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderDeregistration.hpp"

#include <algorithm>
#include <boost/bind/bind.hpp>
#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderRepair.hpp"
#include "fennik/undo/FileCleanupActions.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMException;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMQualifierType;

namespace {

UnitLog stepLog() {
    return log("fennik.deRegister");
}

void removeInstance(const ProviderTarget& target, const String& ns, const CIMInstance& saved) {
    target.handle->deleteInstance(ns, CIMObjectPath(ns, saved));
    target.undo.push_back(boost::bind(&createInstance, boost::ref(*target.handle), ns, saved));
}

void removeClass(const ProviderTarget& target, const String& ns, const CIMClass& saved,
                 const ProviderRepair& repair) {
    try {
        target.handle->deleteClass(ns, saved.getName());
    } catch (const CIMException& e) {
        repair.throwClassInUse(e, *target.handle, ns, saved.getName());
    }
    target.undo.push_back(boost::bind(&createClass, boost::ref(*target.handle), ns, saved));
}

void removeQualifierType(const ProviderTarget& target, const String& ns,
                         const CIMQualifierType& saved, const ProviderRepair& repair) {
    try {
        target.handle->deleteQualifierType(ns, saved.getName());
    } catch (const CIMException& e) {
        repair.throwQualifierTypeInUse(e, ns, saved.getName());
    }
    target.undo.push_back(boost::bind(&setQualifierType, boost::ref(*target.handle), ns, saved));
}

void removeRecord(const ProviderTarget& target, const String& id) {
    CIMOMHandleIFC& handle = *target.handle;
    const String& productName = target.productName;
    const CIMObjectPath provider = providerPath(productName, id);
    const CIMInstance association =
        handle.getInstance(KOV_NS, productProviderPath(productName, provider));
    const CIMInstance record = handle.getInstance(KOV_NS, provider);
    stepLog().debug("Deleting association to %1's provider: %2", productName, provider);
    removeInstance(target, KOV_NS, association);
    stepLog().debug("Deleting provider: %1", provider);
    removeInstance(target, KOV_NS, record);
}

/// Removes the instances in the reverse order of their creation. A missing one is ignored: it was
/// removed with the class of another provider.
void removeProviderInstances(const ProviderTarget& target,
                             const OOP1ProviderRegistration& registration) {
    const String& ns = registration.providerMofNamespace();
    const Array<CIMInstance>& instances = registration.providerInstances();
    for (auto instance = instances.rbegin(); instance != instances.rend(); ++instance) {
        stepLog().debug("Deleting mof instance: %1:%2", ns,
                        CIMObjectPath(ns, *instance).modelPath());
        try {
            removeInstance(target, ns, *instance);
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::NOT_FOUND &&
                e.getErrNo() != CIMException::INVALID_CLASS) {
                throw;
            }
        }
    }
}

/// Skips instances of subclasses, which are enumerated too: they are removed with their own class.
void removeInstancesOfClass(const ProviderTarget& target, const String& ns,
                            const String& className) {
    stepLog().debug("Iterating through instances of class: %1:%2", ns, className);
    for (const CIMInstance& instance : target.handle->enumInstancesA(ns, className)) {
        if (blocxx::equalsIgnoreCase(instance.getClassName(), className)) {
            removeInstance(target, ns, instance);
        }
    }
}

/// Undoes the removal of a privilege file. A file in its place is the partial one of a registration
/// of the same name that failed; a complete one has been removed by its own undo step.
void putFileBack(const String& path, const String& contents) {
    blocxx::FileSystem::removeFile(path);
    cleanupWriteFile(path, contents);
}

void removeFile(const String& path, const String& contents, CleanupActions_t& undo) {
    if (!blocxx::FileSystem::removeFile(path)) {
        BLOCXX_THROW_ERRNO(blocxx::IOException,
                           blocxx::Format("Failed to remove: %1", path).toString());
    }
    undo.push_back(boost::bind(&putFileBack, path, contents));
}

void removePrivilegeFiles(const ProviderTarget& target,
                          const OOP1ProviderRegistration& registration) {
    const CIMInstance& instance = registration.registrationInstance();
    const String oopPath = target.destDir + PrivilegeFiles::oopPrivilegeFile(instance);
    stepLog().debug("Removing oop privilege file: %1", oopPath);
    removeFile(oopPath, registration.providerOOPPrivileges(), target.undo);
    if (!registration.providerPrivileges().empty()) {
        const String path = target.destDir + PrivilegeFiles::providerPrivilegeFile(instance);
        stepLog().debug("Removing privilege file: %1", path);
        removeFile(path, registration.providerPrivileges(), target.undo);
    }
}

/// Calls `removal`. Appends it to `putOff` when it fails with one of the codes `inUse`.
void removeOrDefer(const boost::function<void()>& removal,
                   std::initializer_list<CIMException::ErrNoType> inUse,
                   Array<boost::function<void()>>& putOff) {
    try {
        removal();
    } catch (const CIMException& e) {
        if (std::ranges::count(inUse, e.getErrNo()) == 0) {
            throw;
        }
        putOff.push_back(removal);
    }
}

/// Calls every removal, and again those that failed, until none is left or none succeeds. Then
/// throws one of the failures.
void removeDeferred(Array<boost::function<void()>>& removals) {
    while (!removals.empty()) {
        const size_t before = removals.size();
        std::exception_ptr failure;
        // From the last: later ones tend to use earlier ones.
        for (size_t i = removals.size(); i-- > 0;) {
            try {
                removals[i]();
                removals.erase(removals.begin() + static_cast<ptrdiff_t>(i));
            } catch (const CIMException&) {
                failure = std::current_exception();
            }
        }
        if (removals.size() == before) {
            std::rethrow_exception(failure);
        }
    }
}

}  // namespace

void ProviderDeregistration::remove(const OOP1ProviderRegistration& registration) {
    removeRecord(m_target, registration.instanceID());
    removeProviderInstances(m_target, registration);
    removeSchema(registration);
    const Array<CIMInstance>& instances = registration.registrationInstances();
    for (auto instance = instances.rbegin(); instance != instances.rend(); ++instance) {
        stepLog().debug("Deleting registration instance: %1:%2", INTEROP_NS,
                        CIMObjectPath(INTEROP_NS, *instance).modelPath());
        removeInstance(m_target, INTEROP_NS, *instance);
    }
    removePrivilegeFiles(m_target, registration);
}

// Removes classes from the last, because a registration lists superclasses before subclasses.
void ProviderDeregistration::removeSchema(const OOP1ProviderRegistration& registration) {
    const String& ns = registration.providerMofNamespace();
    const ProviderRepair repair(m_target.productName, registration.instanceID(), m_target.destDir);
    const Array<CIMClass>& classes = registration.providerClasses();
    for (auto cls = classes.rbegin(); cls != classes.rend(); ++cls) {
        removeInstancesOfClass(m_target, ns, cls->getName());
        stepLog().debug("Deleting class: %1:%2", ns, cls->getName());
        removeOrDefer(boost::bind(&removeClass, boost::cref(m_target), ns, *cls, repair),
                      // Its instances may be embedded in instances that are not removed yet.
                      {CIMException::CLASS_HAS_CHILDREN, CIMException::CLASS_HAS_INSTANCES},
                      m_classes);
    }
    for (const CIMQualifierType& qualifierType : registration.providerQualifiers()) {
        stepLog().debug("Deleting qualifier type: %1:%2", ns, qualifierType.getName());
        removeOrDefer(
            boost::bind(&removeQualifierType, boost::cref(m_target), ns, qualifierType, repair),
            {CIMException::FAILED}, m_qualifierTypes);
    }
}

void ProviderDeregistration::finish() {
    removeDeferred(m_classes);
    removeDeferred(m_qualifierTypes);
}

}  // namespace KOVNS2
