// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/CurrentProviders.hpp"

#include <algorithm>

#include "blocxx/FileSystem.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderRepair.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2::CurrentProviders {

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

/// The value of a property that registering always sets. Throws FennikException when it is NULL.
CIMValue requireValue(const CIMInstance& provider, const char* property,
                      CallSite place = CallSite::here()) {
    CIMValue value = provider.getPropertyValue(property);
    if (value.isNull()) {
        throw FennikException(Format("%1 is NULL", property), INVALID_INPUT, nullptr, place);
    }
    return value;
}

/// A replacement for a missing registration instance, made from its path and its privilege file, if
/// that exists: enough to remove the provider.
CIMInstance substitute(const CIMObjectPath& path, const String& destDir) {
    CIMInstance instance = keysOnly(path);
    const String file = PrivilegeFiles::providerPrivilegeFile(instance);
    if (blocxx::FileSystem::exists(destDir + file)) {
        instance.setProperty(PRIVILEGES_FILE, CIMValue(file));
    }
    return instance;
}

/// Reads the objects and files that a record names. An exception for a missing one says how to
/// repair that.
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

/// Reads the instances of the provider's namespace, and the unconnected ones of the registration.
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

Array<CIMInstance> records(const ProviderTarget& target) {
    return target.handle->associatorsA(
        KOV_NS, productPath(target.productName),
        {.assocClass = PRODUCT_PROVIDER, .resultClass = PROVIDER, .role = {}, .resultRole = {}});
}

ProviderRegistrationRef registrationOf(const ProviderTarget& target, const CIMInstance& record) {
    if (record.getClassName() != OOP1_PROVIDER) {
        throw FennikException(
            Format("Unknown KOV_Provider subclass:\n%1", OpenWBEM::MOF::toMOF(record)),
            INVALID_INPUT);
    }
    const Reader reader{
        *target.handle,
        ProviderRepair(target.productName, text(record, "RegistrationInstanceID"), target.destDir),
        target.destDir};
    OOP1ProviderParts parts;
    parts.registrationInstances = readRegistrationInstances(reader, record);

    const String ns = requireValue(record, MOF_NAMESPACE).toString();
    parts.providerMofNamespace = ns;
    readListedInstances(reader, requireValue(record, MOF_INSTANCES), parts);
    parts.providerClasses = readProviderClasses(reader, ns, requireValue(record, MOF_CLASSES));
    parts.providerQualifiers =
        readProviderQualifiers(reader, ns, requireValue(record, MOF_QUALIFIER_TYPES));

    const CIMInstance& instance = parts.registrationInstances.front();
    if (!instance.getPropertyValue(PRIVILEGES_FILE).isNull()) {
        parts.providerPrivileges =
            reader.privileges(PrivilegeFiles::providerPrivilegeFile(instance));
    }
    parts.providerOOPPrivileges = reader.privileges(PrivilegeFiles::oopPrivilegeFile(instance));
    return new OOP1ProviderRegistration(std::move(parts));
}

}  // namespace KOVNS2::CurrentProviders
