// SPDX-License-Identifier: Apache-2.0
//
// The steps of removing one provider, each change with its undo. Classes and qualifier types that a
// provider removed later still uses are left for the end.
#include <algorithm>
#include <boost/bind/bind.hpp>
#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRepair.hpp"
#include "fennik/undo/FileCleanupActions.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMException;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMOMHandleIFCRef;
using OpenWBEM::CIMQualifierType;

namespace {

UnitLog stepLog() {
    return log("fennik.deRegister");
}

void removeInstance(CIMOMHandleIFC& handle, const String& ns, const CIMInstance& saved,
                    CleanupActions_t& undo) {
    handle.deleteInstance(ns, CIMObjectPath(ns, saved));
    undo.push_back(boost::bind(&createInstance, boost::ref(handle), ns, saved));
}

void removeClass(CIMOMHandleIFC& handle, const String& ns, const CIMClass& saved,
                 CleanupActions_t& undo, const ProviderRepair& repair) {
    try {
        handle.deleteClass(ns, saved.getName());
    } catch (const CIMException& e) {
        repair.throwClassInUse(e, handle, ns, saved.getName());
    }
    undo.push_back(boost::bind(&createClass, boost::ref(handle), ns, saved));
}

void removeQualifierType(CIMOMHandleIFC& handle, const String& ns, const CIMQualifierType& saved,
                         CleanupActions_t& undo, const ProviderRepair& repair) {
    try {
        handle.deleteQualifierType(ns, saved.getName());
    } catch (const CIMException& e) {
        repair.throwQualifierTypeInUse(e, ns, saved.getName());
    }
    undo.push_back(boost::bind(&setQualifierType, boost::ref(handle), ns, saved));
}

void removeRecord(CIMOMHandleIFC& handle, const String& productName, const String& id,
                  CleanupActions_t& undo) {
    const CIMObjectPath provider = providerPath(productName, id);
    const CIMInstance association =
        handle.getInstance(KOV_NS, productProviderPath(productName, provider));
    const CIMInstance record = handle.getInstance(KOV_NS, provider);
    stepLog().debug("Deleting association to %1's provider: %2", productName, provider);
    removeInstance(handle, KOV_NS, association, undo);
    stepLog().debug("Deleting provider: %1", provider);
    removeInstance(handle, KOV_NS, record, undo);
}

/// The instances go in the reverse order of their creation. One that is not there any more went
/// with the class of a provider that was removed before.
void removeProviderInstances(CIMOMHandleIFC& handle, const OOP1ProviderRegistration& registration,
                             CleanupActions_t& undo) {
    const String& ns = registration.providerMofNamespace();
    const Array<CIMInstance>& instances = registration.providerInstances();
    for (auto instance = instances.rbegin(); instance != instances.rend(); ++instance) {
        stepLog().debug("Deleting mof instance: %1:%2", ns,
                        CIMObjectPath(ns, *instance).modelPath());
        try {
            removeInstance(handle, ns, *instance, undo);
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::NOT_FOUND &&
                e.getErrNo() != CIMException::INVALID_CLASS) {
                throw;
            }
        }
    }
}

/// Instances of subclasses are enumerated, too. They go with their own class.
void removeInstancesOfClass(CIMOMHandleIFC& handle, const String& ns, const String& className,
                            CleanupActions_t& undo) {
    stepLog().debug("Iterating through instances of class: %1:%2", ns, className);
    for (const CIMInstance& instance : handle.enumInstancesA(ns, className)) {
        if (blocxx::equalsIgnoreCase(instance.getClassName(), className)) {
            removeInstance(handle, ns, instance, undo);
        }
    }
}

/// Undoes the removal of a privilege file. What stands in its place by now is what a registration
/// of the same name wrote before its writing failed: a whole file has been removed by its own undo.
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

/// Calls `removal`, or puts it off when it fails with one of these statuses.
void removeOrPutOff(const boost::function<void()>& removal,
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

/// Calls every removal; those that fail are tried again as long as that helps. Throws the failure
/// of one that stays.
void removeRest(Array<boost::function<void()>>& removals) {
    while (!removals.empty()) {
        const size_t before = removals.size();
        std::exception_ptr failure;
        // From the last: what was put off later tends to use what was put off before.
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

void ProviderRegistrationFacility::deRegisterProvider(
    const OOP1ProviderRegistration& registration) {
    CIMOMHandleIFC& handle = *m_handle;
    removeRecord(handle, m_productName, registration.instanceID(), m_cleanupActions);
    removeProviderInstances(handle, registration, m_cleanupActions);
    removeProviderSchema(registration);
    const Array<CIMInstance>& instances = registration.registrationInstances();
    for (auto instance = instances.rbegin(); instance != instances.rend(); ++instance) {
        stepLog().debug("Deleting registration instance: %1:%2", INTEROP_NS,
                        CIMObjectPath(INTEROP_NS, *instance).modelPath());
        removeInstance(handle, INTEROP_NS, *instance, m_cleanupActions);
    }
    removePrivilegeFiles(registration);
}

// Superclasses stand before their subclasses in a registration, so classes go from the last.
void ProviderRegistrationFacility::removeProviderSchema(
    const OOP1ProviderRegistration& registration) {
    CIMOMHandleIFC& handle = *m_handle;
    const String& ns = registration.providerMofNamespace();
    const ProviderRepair repair(m_productName, registration.instanceID(), m_destDir);
    const Array<CIMClass>& classes = registration.providerClasses();
    for (auto cls = classes.rbegin(); cls != classes.rend(); ++cls) {
        removeInstancesOfClass(handle, ns, cls->getName(), m_cleanupActions);
        stepLog().debug("Deleting class: %1:%2", ns, cls->getName());
        removeOrPutOff(boost::bind(&removeClass, boost::ref(handle), ns, *cls,
                                   boost::ref(m_cleanupActions), repair),
                       // Instances of it may be embedded in others that are still to go.
                       {CIMException::CLASS_HAS_CHILDREN, CIMException::CLASS_HAS_INSTANCES},
                       m_classesPutOff);
    }
    for (const CIMQualifierType& qualifierType : registration.providerQualifiers()) {
        stepLog().debug("Deleting qualifier type: %1:%2", ns, qualifierType.getName());
        removeOrPutOff(boost::bind(&removeQualifierType, boost::ref(handle), ns, qualifierType,
                                   boost::ref(m_cleanupActions), repair),
                       {CIMException::FAILED}, m_qualifierTypesPutOff);
    }
}

void ProviderRegistrationFacility::removePrivilegeFiles(
    const OOP1ProviderRegistration& registration) {
    const CIMInstance& instance = registration.registrationInstance();
    const String oopPath = m_destDir + PrivilegeFiles::oopPrivilegeFile(instance);
    stepLog().debug("Removing oop privilege file: %1", oopPath);
    removeFile(oopPath, registration.providerOOPPrivileges(), m_cleanupActions);
    if (!registration.providerPrivileges().empty()) {
        const String path = m_destDir + PrivilegeFiles::providerPrivilegeFile(instance);
        stepLog().debug("Removing privilege file: %1", path);
        removeFile(path, registration.providerPrivileges(), m_cleanupActions);
    }
}

void ProviderRegistrationFacility::removeWhatWasPutOff() {
    removeRest(m_classesPutOff);
    removeRest(m_qualifierTypesPutOff);
}

}  // namespace KOVNS2
