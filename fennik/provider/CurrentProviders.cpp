// SPDX-License-Identifier: Apache-2.0
//
// From what the CIMOM and the privilege files hold to registration records.
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
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMQualifierType;
using OpenWBEM::CIMValue;

namespace {

/// A property that registering always sets.
CIMValue requireValue(const CIMInstance& provider, const char* property) {
    CIMValue value = provider.getPropertyValue(property);
    if (value.isNull()) {
        BLOCXX_THROW_ERR(FennikException, Format("%1 is NULL", property), INVALID_INPUT);
    }
    return value;
}

/// What a process serves, and then the associations that connect it: they were registered with it
/// and have to go and come back with it.
void appendCapabilities(CIMOMHandleIFC& handle, const CIMObjectPath& process,
                        Array<CIMInstance>& instances) {
    auto append = OpenWBEM::makeResultHandler<CIMInstance>(
        [&](const CIMInstance& instance) { instances.push_back(instance); });
    handle.associators(INTEROP_NS, process, append,
                       {.assocClass = OOP_PROCESS_CAPABILITIES,
                        .resultClass = OOP_CAPABILITIES,
                        .role = {},
                        .resultRole = {}});
    handle.references(
        INTEROP_NS, process, append,
        {.assocClass = {}, .resultClass = OOP_PROCESS_CAPABILITIES, .role = {}, .resultRole = {}});
}

Array<CIMInstance> readRegistrationInstances(CIMOMHandleIFC& handle, const CIMInstance& provider) {
    CIMObjectPath path(text(provider, "RegistrationClassName"), INTEROP_NS);
    path.setKeyValue("InstanceID", CIMValue(text(provider, "RegistrationInstanceID")));
    Array<CIMInstance> instances{handle.getInstance(INTEROP_NS, path)};
    if (instances.front().getClassName() == OOP_PROCESS) {
        appendCapabilities(handle, path, instances);
    }
    return instances;
}

Array<CIMInstance> readProviderInstances(CIMOMHandleIFC& handle, const String& ns,
                                         const CIMValue& names) {
    Array<CIMInstance> instances;
    for (const String& name : names.getArray<String>()) {
        CIMObjectPath path = CIMObjectPath::parse(name);
        path.syncWithClass(handle.getClass(ns, path.getClassName()));
        instances.push_back(handle.getInstance(ns, path));
    }
    return instances;
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
    const CIMInstance& instance = parts.registrationInstances.front();

    const String ns = requireValue(provider, "ProviderMofNamespace").toString();
    parts.providerMofNamespace = ns;
    parts.providerInstances =
        readProviderInstances(handle, ns, requireValue(provider, "ProviderMofInstanceNames"));
    parts.providerClasses =
        readProviderClasses(handle, ns, requireValue(provider, "ProviderMofClassNames"));
    parts.providerQualifiers =
        readProviderQualifiers(handle, ns, requireValue(provider, "ProviderMofQualifierTypeNames"));

    if (!instance.getPropertyValue("MonitorPrivilegesFile").isNull()) {
        parts.providerPrivileges = blocxx::FileSystem::getFileContents(
            m_destDir + PrivilegeFiles::providerPrivilegeFile(instance));
    }
    parts.providerOOPPrivileges =
        blocxx::FileSystem::getFileContents(m_destDir + PrivilegeFiles::oopPrivilegeFile(instance));
    return new OOP1ProviderRegistration(std::move(parts));
}

StringArray ProviderRegistrationFacility::getRegisteredNamespaces() {
    return listNamespaces(m_handle, m_productName);
}

}  // namespace KOVNS2
