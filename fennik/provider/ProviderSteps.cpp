// SPDX-License-Identifier: Apache-2.0
//
// The steps of registering one provider, each change with its undo.
#include <algorithm>
#include <boost/bind/bind.hpp>
#include <optional>

#include "fennik/cimom/FNUtils.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/undo/FileCleanupActions.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using namespace OpenWBEM::WBEMFlags;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMException;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMQualifierType;
using OpenWBEM::CIMValue;

namespace {

CIMObjectPath create(CIMOMHandleIFC& handle, const String& ns, const CIMInstance& instance,
                     CleanupActions_t& undo) {
    CIMObjectPath path = handle.createInstance(ns, instance);
    undo.push_back(boost::bind(&deleteInstance, boost::ref(handle), ns, path));
    return path;
}

std::optional<CIMQualifierType> findQualifierType(CIMOMHandleIFC& handle, const String& ns,
                                                  const String& name) {
    try {
        return handle.getQualifierType(ns, name);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
        return std::nullopt;
    }
}

CIMInstance newInstance(CIMOMHandleIFC& handle, const char* className) {
    return handle
        .getClass(KOV_NS, className, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN)
        .newInstance();
}

/// The names of classes or qualifier types, as a property value. None at all is an empty array, not
/// NULL: NULL would say that the record is damaged.
template <class Object>
CIMValue names(const Array<Object>& objects) {
    StringArray result;
    for (const Object& object : objects) {
        result.push_back(object.getName());
    }
    return CIMValue::array<String>(std::move(result));
}

void appendPaths(const String& ns, const Array<CIMInstance>& instances, StringArray& names) {
    for (const CIMInstance& instance : instances) {
        names.push_back(CIMObjectPath(ns, instance).toString());
    }
}

/// The instances that came behind a process and that it does not lead to. Its record has to name
/// them, or nobody would find them again.
Array<CIMInstance> unconnected(CIMOMHandleIFC& handle, const Array<CIMInstance>& instances) {
    Array<CIMInstance> rest;
    if (instances.size() == 1) {
        return rest;
    }
    Array<CIMObjectPath> connected;
    for (const CIMInstance& instance :
         capabilitiesOf(handle, CIMObjectPath(INTEROP_NS, instances.front()))) {
        connected.push_back(CIMObjectPath(INTEROP_NS, instance));
    }
    for (size_t i = 1; i < instances.size(); ++i) {
        // Read back, so that both sides write the paths in their keys alike.
        const CIMInstance created =
            handle.getInstance(INTEROP_NS, CIMObjectPath(INTEROP_NS, instances[i]));
        if (std::ranges::count(connected, CIMObjectPath(INTEROP_NS, created)) == 0) {
            rest.push_back(created);
        }
    }
    return rest;
}

/// What the record names: the instances of the provider MOF and the unconnected ones.
CIMValue instanceNames(CIMOMHandleIFC& handle, const OOP1ProviderRegistration& registration) {
    StringArray result;
    appendPaths(registration.providerMofNamespace(), registration.providerInstances(), result);
    appendPaths(INTEROP_NS, unconnected(handle, registration.registrationInstances()), result);
    return CIMValue::array<String>(std::move(result));
}

}  // namespace

void ProviderRegistrationFacility::registerProvider(const OOP1ProviderRegistration& registration) {
    String privilegeFilePath;
    createPrivilegeFiles(registration, privilegeFilePath);
    createRegistrationInstances(registration, privilegeFilePath);
    createOOP1RegistrationInstances(handleProviderMOFInstances(registration));
}

void ProviderRegistrationFacility::createPrivilegeFiles(
    const OOP1ProviderRegistration& registration, String& privilegeFilePath) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.privilegeFiles");
    const CIMInstance& instance = registration.registrationInstance();
    const String id = registration.instanceID();

    const String oopPath = m_destDir + PrivilegeFiles::oopPrivilegeFile(instance);
    log.debug("Creating ow privileges file for %1: %2", id, oopPath);
    PrivilegeFiles::writeFile(oopPath, registration.providerOOPPrivileges());
    m_cleanupActions.push_back(boost::bind(&deleteFile, oopPath));

    if (registration.providerPrivileges().empty()) {
        return;
    }
    const String installedPath = PrivilegeFiles::providerPrivilegeFile(instance);
    const String path = m_destDir + installedPath;
    log.debug("Creating provider privileges file for %1: %2", id, path);
    PrivilegeFiles::writeFile(path, registration.providerPrivileges());
    m_cleanupActions.push_back(boost::bind(&deleteFile, path));
    privilegeFilePath = installedPath;
}

void ProviderRegistrationFacility::createRegistrationInstances(
    const OOP1ProviderRegistration& registration, const String& privilegeFilePath) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.registrationInstances");
    log.debug("Creating registration instances");
    const Array<CIMInstance>& instances = registration.registrationInstances();
    CIMInstance leading = instances.front();
    if (!privilegeFilePath.empty()) {
        leading.setProperty("MonitorPrivilegesFile", CIMValue(privilegeFilePath));
    }
    create(*m_handle, INTEROP_NS, leading, m_cleanupActions);
    for (size_t i = 1; i < instances.size(); ++i) {
        create(*m_handle, INTEROP_NS, instances[i], m_cleanupActions);
    }
    log.debug("Done creating registration instances");
}

OOP1ProviderRegistration ProviderRegistrationFacility::handleProviderMOFInstances(
    const OOP1ProviderRegistration& registration) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.nonRegInstances");
    const String& ns = registration.providerMofNamespace();
    const String id = registration.instanceID();
    CIMOMHandleIFC& handle = *m_handle;

    // Types that were there before belong to the namespace or to another provider, and stay when
    // this one goes.
    Array<CIMQualifierType> own;
    for (const CIMQualifierType& qualifierType : registration.providerQualifiers()) {
        const auto earlier = findQualifierType(handle, ns, qualifierType.getName());
        handle.setQualifierType(ns, qualifierType);
        if (earlier) {
            m_cleanupActions.push_back(
                boost::bind(&setQualifierType, boost::ref(handle), ns, *earlier));
        } else {
            m_cleanupActions.push_back(
                boost::bind(&deleteQualifierType, boost::ref(handle), ns, qualifierType.getName()));
            own.push_back(qualifierType);
        }
    }
    for (const CIMClass& cls : registration.providerClasses()) {
        log.debug("Creating class for %1: %2", id, cls.getName());
        handle.createClass(ns, cls);
        m_cleanupActions.push_back(
            boost::bind(&deleteClass, boost::ref(handle), ns, cls.getName()));
    }
    Array<CIMInstance> created;
    for (const CIMInstance& instance : registration.providerInstances()) {
        log.debug("Creating instance of class: %1 for %2", instance.getClassName(), id);
        created.push_back(keysOnly(create(handle, ns, instance, m_cleanupActions)));
    }
    return registration.asCreated(std::move(own), std::move(created));
}

void ProviderRegistrationFacility::createOOP1RegistrationInstances(
    const OOP1ProviderRegistration& registration) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.oopRegistrationInstances");
    const String& ns = registration.providerMofNamespace();
    const String id = registration.instanceID();

    log.debug("Creating the record of provider %1", id);
    CIMInstance record = newInstance(*m_handle, OOP1_PROVIDER);
    record.setProperty("CreationClassName", CIMValue(OOP1_PROVIDER));
    record.setProperty("Name", CIMValue(id));
    record.setProperty("ProductName", CIMValue(m_productName));
    record.setProperty("RegistrationInstanceID", CIMValue(id));
    record.setProperty("RegistrationClassName", CIMValue(registration.registrationClassName()));
    record.setProperty("ProviderMofNamespace", CIMValue(ns));
    record.setProperty("ProviderMofInstanceNames", instanceNames(*m_handle, registration));
    record.setProperty("ProviderMofClassNames", names(registration.providerClasses()));
    record.setProperty("ProviderMofQualifierTypeNames", names(registration.providerQualifiers()));
    const CIMObjectPath path = create(*m_handle, KOV_NS, record, m_cleanupActions);

    CIMInstance association = newInstance(*m_handle, PRODUCT_PROVIDER);
    association.setProperty("Product", CIMValue(productPath(m_productName)));
    association.setProperty("Provider", CIMValue(path));
    create(*m_handle, KOV_NS, association, m_cleanupActions);
}

}  // namespace KOVNS2
