// SPDX-License-Identifier: Apache-2.0
//
// From what the CIMOM and the privilege files hold to registration records.
#include <algorithm>
#include <source_location>

#include "blocxx/FileSystem.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/undo/FennikException.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using blocxx::FileSystem::getFileContents;
using blocxx::FileSystem::NamedBy;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMQualifierType;
using OpenWBEM::CIMValue;

namespace {

/// A property that registering always sets.
CIMValue requireValue(const CIMInstance& provider, const char* property,
                      std::source_location place = std::source_location::current()) {
    CIMValue value = provider.getPropertyValue(property);
    if (value.isNull()) {
        throw FennikException(place, Format("%1 is NULL", property), INVALID_INPUT);
    }
    return value;
}

Array<CIMInstance> readRegistrationInstances(CIMOMHandleIFC& handle, const CIMInstance& provider) {
    CIMObjectPath path(text(provider, "RegistrationClassName"), INTEROP_NS);
    path.setKeyValue("InstanceID", CIMValue(text(provider, "RegistrationInstanceID")));
    Array<CIMInstance> instances{handle.getInstance(INTEROP_NS, path)};
    if (instances.front().getClassName() == OOP_PROCESS) {
        for (CIMInstance& instance : capabilitiesOf(handle, path)) {
            instances.push_back(std::move(instance));
        }
    }
    return instances;
}

CIMInstance readNamed(CIMOMHandleIFC& handle, const String& ns, CIMObjectPath path) {
    path.syncWithClass(handle.getClass(ns, path.getClassName()));
    return handle.getInstance(ns, path);
}

bool isOneOf(const Array<CIMInstance>& instances, const CIMInstance& instance) {
    return std::ranges::any_of(instances, [&](const CIMInstance& other) {
        return CIMObjectPath(INTEROP_NS, other) == CIMObjectPath(INTEROP_NS, instance);
    });
}

/// Reads the instances of the provider's namespace, and those that came with the registration.
void readListedInstances(CIMOMHandleIFC& handle, const CIMValue& names, OOP1ProviderParts& parts) {
    const String& ns = parts.providerMofNamespace;
    for (const String& name : names.getArray<String>()) {
        const CIMObjectPath path = CIMObjectPath::parse(name);
        if (path.getNameSpace() == INTEROP_NS && ns != INTEROP_NS) {
            CIMInstance instance = readNamed(handle, INTEROP_NS, path);
            if (!isOneOf(parts.registrationInstances, instance)) {
                parts.registrationInstances.push_back(std::move(instance));
            }
        } else {
            parts.providerInstances.push_back(readNamed(handle, ns, path));
        }
    }
}

Array<CIMClass> readProviderClasses(CIMOMHandleIFC& handle, const String& ns,
                                    const CIMValue& names) {
    Array<CIMClass> classes;
    for (const String& name : names.getArray<String>()) {
        classes.push_back(handle.getClass(ns, name));
    }
    return classes;
}

Array<CIMQualifierType> readProviderQualifiers(CIMOMHandleIFC& handle, const String& ns,
                                               const CIMValue& names) {
    Array<CIMQualifierType> qualifierTypes;
    for (const String& name : names.getArray<String>()) {
        qualifierTypes.push_back(handle.getQualifierType(ns, name));
    }
    return qualifierTypes;
}

}  // namespace

Array<ProviderRegistrationRef> ProviderRegistrationFacility::getCurrentProviderRegistrations() {
    // Collected first: rebuilding a record asks the handle while an enumeration would still run.
    const Array<CIMInstance> providers = m_handle->associatorsA(
        KOV_NS, productPath(m_productName),
        {.assocClass = PRODUCT_PROVIDER, .resultClass = PROVIDER, .role = {}, .resultRole = {}});
    Array<ProviderRegistrationRef> registrations;
    for (const CIMInstance& provider : providers) {
        if (provider.getClassName() != OOP1_PROVIDER) {
            BLOCXX_THROW_ERR(
                FennikException,
                Format("Unknown KOV_Provider subclass:\n%1", OpenWBEM::MOF::toMOF(provider)),
                INVALID_INPUT);
        }
        registrations.push_back(getOOP1ProviderRegistrationData(provider));
    }
    return registrations;
}

ProviderRegistrationRef ProviderRegistrationFacility::getOOP1ProviderRegistrationData(
    const CIMInstance& provider) {
    CIMOMHandleIFC& handle = *m_handle;
    OOP1ProviderParts parts;
    parts.registrationInstances = readRegistrationInstances(handle, provider);

    const String ns = requireValue(provider, "ProviderMofNamespace").toString();
    parts.providerMofNamespace = ns;
    readListedInstances(handle, requireValue(provider, "ProviderMofInstanceNames"), parts);
    parts.providerClasses =
        readProviderClasses(handle, ns, requireValue(provider, "ProviderMofClassNames"));
    parts.providerQualifiers =
        readProviderQualifiers(handle, ns, requireValue(provider, "ProviderMofQualifierTypeNames"));

    const CIMInstance& instance = parts.registrationInstances.front();
    if (!instance.getPropertyValue("MonitorPrivilegesFile").isNull()) {
        parts.providerPrivileges = getFileContents(
            m_destDir + PrivilegeFiles::providerPrivilegeFile(instance), NamedBy::US);
    }
    parts.providerOOPPrivileges =
        getFileContents(m_destDir + PrivilegeFiles::oopPrivilegeFile(instance), NamedBy::US);
    return new OOP1ProviderRegistration(std::move(parts));
}

StringArray ProviderRegistrationFacility::getRegisteredNamespaces() {
    // Each provider of a list asks, and no command that has providers changes the namespaces.
    if (!m_namespaces) {
        m_namespaces = listNamespaces(m_handle, m_productName);
    }
    return *m_namespaces;
}

}  // namespace KOVNS2
