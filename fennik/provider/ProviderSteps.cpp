// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderSteps.hpp"

#include <algorithm>
#include <boost/bind/bind.hpp>
#include <optional>

#include "fennik/cimom/FNUtils.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/undo/FileCleanupActions.hpp"

namespace KOVNS2::ProviderSteps {

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

CIMObjectPath create(const ProviderTarget& target, const String& ns, const CIMInstance& instance) {
    return createUndoably(*target.handle, ns, instance, target.undo);
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

/// The names of classes or qualifier types, as a property value. Without any, an empty array rather
/// than NULL, which would mark the record as damaged.
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

/// The instances after the registration instance that cannot be found through its associations, so
/// the record has to name them.
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
        // Read back, so that paths in keys have the same form on both sides.
        const CIMInstance created =
            handle.getInstance(INTEROP_NS, CIMObjectPath(INTEROP_NS, instances[i]));
        if (std::ranges::count(connected, CIMObjectPath(INTEROP_NS, created)) == 0) {
            rest.push_back(created);
        }
    }
    return rest;
}

/// The instances that the record lists: those of the provider MOF and the unconnected ones.
CIMValue instanceNames(CIMOMHandleIFC& handle, const OOP1ProviderRegistration& registration) {
    StringArray result;
    appendPaths(registration.providerMofNamespace(), registration.providerInstances(), result);
    appendPaths(INTEROP_NS, unconnected(handle, registration.registrationInstances()), result);
    return CIMValue::array<String>(std::move(result));
}

}  // namespace

String writePrivilegeFiles(const ProviderTarget& target,
                           const OOP1ProviderRegistration& registration) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.privilegeFiles");
    const CIMInstance& instance = registration.registrationInstance();
    const String id = registration.instanceID();

    const String oopPath = target.destDir + PrivilegeFiles::oopPrivilegeFile(instance);
    log.debug("Creating ow privileges file for %1: %2", id, oopPath);
    PrivilegeFiles::writeFile(oopPath, registration.providerOOPPrivileges());
    target.undo.push_back(boost::bind(&deleteFile, oopPath));

    if (registration.providerPrivileges().empty()) {
        return {};
    }
    const String installedPath = PrivilegeFiles::providerPrivilegeFile(instance);
    const String path = target.destDir + installedPath;
    log.debug("Creating provider privileges file for %1: %2", id, path);
    PrivilegeFiles::writeFile(path, registration.providerPrivileges());
    target.undo.push_back(boost::bind(&deleteFile, path));
    return installedPath;
}

void createRegistrationInstances(const ProviderTarget& target,
                                 const OOP1ProviderRegistration& registration,
                                 const String& privilegeFilePath) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.registrationInstances");
    log.debug("Creating registration instances");
    const Array<CIMInstance>& instances = registration.registrationInstances();
    CIMInstance leading = instances.front();
    if (!privilegeFilePath.empty()) {
        leading.setProperty(PRIVILEGES_FILE, CIMValue(privilegeFilePath));
    }
    create(target, INTEROP_NS, leading);
    for (size_t i = 1; i < instances.size(); ++i) {
        create(target, INTEROP_NS, instances[i]);
    }
    log.debug("Done creating registration instances");
}

OOP1ProviderRegistration createProviderObjects(const ProviderTarget& target,
                                               const OOP1ProviderRegistration& registration) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.nonRegInstances");
    const String& ns = registration.providerMofNamespace();
    const String id = registration.instanceID();
    CIMOMHandleIFC& handle = *target.handle;

    // Qualifier types that exist already belong to the namespace or to another provider. They stay
    // when this provider is removed.
    Array<CIMQualifierType> own;
    for (const CIMQualifierType& qualifierType : registration.providerQualifiers()) {
        if (const auto earlier = findQualifierType(handle, ns, qualifierType.getName())) {
            handle.setQualifierType(ns, qualifierType);
            target.undo.push_back(boost::bind(&setQualifierType, boost::ref(handle), ns, *earlier));
        } else {
            setUndoably(handle, ns, qualifierType, target.undo);
            own.push_back(qualifierType);
        }
    }
    for (const CIMClass& cls : registration.providerClasses()) {
        log.debug("Creating class for %1: %2", id, cls.getName());
        handle.createClass(ns, cls);
        target.undo.push_back(boost::bind(&deleteClass, boost::ref(handle), ns, cls.getName()));
    }
    Array<CIMInstance> created;
    for (const CIMInstance& instance : registration.providerInstances()) {
        log.debug("Creating instance of class: %1 for %2", instance.getClassName(), id);
        created.push_back(keysOnly(create(target, ns, instance)));
    }
    return registration.withCreatedObjects(std::move(own), std::move(created));
}

void createRecord(const ProviderTarget& target, const OOP1ProviderRegistration& registration) {
    const UnitLog log = ProviderModel::log("fennik.registerProvider.oopRegistrationInstances");
    const String& ns = registration.providerMofNamespace();
    const String id = registration.instanceID();

    log.debug("Creating the record of provider %1", id);
    CIMInstance record = newInstance(*target.handle, OOP1_PROVIDER);
    record.setProperty("CreationClassName", CIMValue(OOP1_PROVIDER));
    record.setProperty("Name", CIMValue(id));
    record.setProperty("ProductName", CIMValue(target.productName));
    record.setProperty("RegistrationInstanceID", CIMValue(id));
    record.setProperty("RegistrationClassName", CIMValue(registration.registrationClassName()));
    record.setProperty(MOF_NAMESPACE, CIMValue(ns));
    record.setProperty(MOF_INSTANCES, instanceNames(*target.handle, registration));
    record.setProperty(MOF_CLASSES, names(registration.providerClasses()));
    record.setProperty(MOF_QUALIFIER_TYPES, names(registration.providerQualifiers()));
    const CIMObjectPath path = create(target, KOV_NS, record);

    CIMInstance association = newInstance(*target.handle, PRODUCT_PROVIDER);
    association.setProperty("Product", CIMValue(productPath(target.productName)));
    association.setProperty("Provider", CIMValue(path));
    create(target, KOV_NS, association);
}

}  // namespace KOVNS2::ProviderSteps
