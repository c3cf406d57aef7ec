// SPDX-License-Identifier: Apache-2.0
//
// From what the CIMOM and the privilege files hold to registration records.
#include <algorithm>

#include "blocxx/FileSystem.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRepair.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using blocxx::FileSystem::getFileContents;
using blocxx::FileSystem::NamedBy;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMException;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMQualifierType;
using OpenWBEM::CIMValue;

namespace {

/// A property that registering always sets.
CIMValue requireValue(const CIMInstance& provider, const char* property,
                      CallSite place = CallSite::here()) {
    CIMValue value = provider.getPropertyValue(property);
    if (value.isNull()) {
        throw FennikException(place, Format("%1 is NULL", property), INVALID_INPUT);
    }
    return value;
}

/// What is left of a registration instance by its record and, where one is in its place, by its
/// privilege file: enough to remove both.
CIMInstance substitute(const CIMObjectPath& path, const String& destDir) {
    CIMInstance instance = keysOnly(path);
    const String file = PrivilegeFiles::providerPrivilegeFile(instance);
    if (blocxx::FileSystem::exists(destDir + file)) {
        instance.setProperty("MonitorPrivilegesFile", CIMValue(file));
    }
    return instance;
}

/// The objects that a record names, read through a handle; what is gone is told with its repair.
struct Reader {
    CIMOMHandleIFC& handle;
    ProviderRepair repair;
    String destDir;

    CIMInstance registrationInstance(const CIMObjectPath& path) const {
        try {
            return handle.getInstance(INTEROP_NS, path);
        } catch (const CIMException& e) {
            repair.throwMissingInstance(e, INTEROP_NS, substitute(path, destDir));
        }
    }

    CIMClass definition(const String& ns, const String& name) const {
        try {
            return handle.getClass(ns, name);
        } catch (const CIMException& e) {
            repair.throwMissingSchema(e, ns, "class", name);
        }
    }

    CIMQualifierType qualifierType(const String& ns, const String& name) const {
        try {
            return handle.getQualifierType(ns, name);
        } catch (const CIMException& e) {
            repair.throwMissingSchema(e, ns, "qualifier type", name);
        }
    }

    CIMInstance instance(const String& ns, CIMObjectPath path) const {
        path.syncWithClass(definition(ns, path.getClassName()));
        try {
            return handle.getInstance(ns, path);
        } catch (const CIMException& e) {
            repair.throwMissingInstance(e, ns, keysOnly(path));
        }
    }

    String privileges(const String& path) const {
        try {
            return getFileContents(destDir + path, NamedBy::US);
        } catch (const blocxx::FileSystemException& e) {
            repair.throwMissingFile(e, destDir + path);
        }
    }
};

Array<CIMInstance> readRegistrationInstances(const Reader& reader, const CIMInstance& provider) {
    CIMObjectPath path(text(provider, "RegistrationClassName"), INTEROP_NS);
    path.setKeyValue("InstanceID", CIMValue(text(provider, "RegistrationInstanceID")));
    Array<CIMInstance> instances{reader.registrationInstance(path)};
    if (instances.front().getClassName() == OOP_PROCESS) {
        for (CIMInstance& instance : capabilitiesOf(reader.handle, path)) {
            instances.push_back(std::move(instance));
        }
    }
    return instances;
}

bool isOneOf(const Array<CIMInstance>& instances, const CIMInstance& instance) {
    return std::ranges::any_of(instances, [&](const CIMInstance& other) {
        return CIMObjectPath(INTEROP_NS, other) == CIMObjectPath(INTEROP_NS, instance);
    });
}

/// Reads the instances of the provider's namespace, and those that came with the registration.
void readListedInstances(const Reader& reader, const CIMValue& names, OOP1ProviderParts& parts) {
    const String& ns = parts.providerMofNamespace;
    for (const String& name : names.getArray<String>()) {
        const CIMObjectPath path = CIMObjectPath::parse(name);
        if (path.getNameSpace() == INTEROP_NS && ns != INTEROP_NS) {
            CIMInstance instance = reader.instance(INTEROP_NS, path);
            if (!isOneOf(parts.registrationInstances, instance)) {
                parts.registrationInstances.push_back(std::move(instance));
            }
        } else {
            parts.providerInstances.push_back(reader.instance(ns, path));
        }
    }
}

Array<CIMClass> readProviderClasses(const Reader& reader, const String& ns, const CIMValue& names) {
    Array<CIMClass> classes;
    for (const String& name : names.getArray<String>()) {
        classes.push_back(reader.definition(ns, name));
    }
    return classes;
}

Array<CIMQualifierType> readProviderQualifiers(const Reader& reader, const String& ns,
                                               const CIMValue& names) {
    Array<CIMQualifierType> qualifierTypes;
    for (const String& name : names.getArray<String>()) {
        qualifierTypes.push_back(reader.qualifierType(ns, name));
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
    const Reader reader{
        *m_handle,
        ProviderRepair(m_productName, text(provider, "RegistrationInstanceID"), m_destDir),
        m_destDir};
    OOP1ProviderParts parts;
    parts.registrationInstances = readRegistrationInstances(reader, provider);

    const String ns = requireValue(provider, "ProviderMofNamespace").toString();
    parts.providerMofNamespace = ns;
    readListedInstances(reader, requireValue(provider, "ProviderMofInstanceNames"), parts);
    parts.providerClasses =
        readProviderClasses(reader, ns, requireValue(provider, "ProviderMofClassNames"));
    parts.providerQualifiers =
        readProviderQualifiers(reader, ns, requireValue(provider, "ProviderMofQualifierTypeNames"));

    const CIMInstance& instance = parts.registrationInstances.front();
    if (!instance.getPropertyValue("MonitorPrivilegesFile").isNull()) {
        parts.providerPrivileges =
            reader.privileges(PrivilegeFiles::providerPrivilegeFile(instance));
    }
    parts.providerOOPPrivileges = reader.privileges(PrivilegeFiles::oopPrivilegeFile(instance));
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
