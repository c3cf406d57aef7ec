// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/RepositoryBuilder.hpp"

#include <utility>

#include "blocxx/FileSystem.hpp"
#include "layout/Layout.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace KovSetup {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

/// What the repository asks of its surroundings.
class Environment : public ServiceEnvironmentIFC {
public:
    explicit Environment(String directory) : m_directory(std::move(directory)) {}

    String getConfigItem(const String& name, const String& defaultValue) const override {
        return name == ConfigOpts::DATADIR_opt ? m_directory : defaultValue;
    }
    CIMOMHandleIFCRef getCIMOMHandle(OperationContext& /*context*/,
                                     EBypassProvidersFlag /*bypassProviders*/) const override {
        return m_handle;
    }
    void setHandle(CIMOMHandleIFCRef handle) { m_handle = std::move(handle); }

private:
    String m_directory;
    CIMOMHandleIFCRef m_handle;
};

/// The handle holds the repository, that its environment, and that the handle: the circle is broken
/// here, however the scope ends.
class HandleLease {
public:
    HandleLease(Environment& environment, CIMOMHandleIFCRef handle) : m_environment(environment) {
        m_environment.setHandle(std::move(handle));
    }
    ~HandleLease() { m_environment.setHandle({}); }
    HandleLease(const HandleLease&) = delete;
    HandleLease& operator=(const HandleLease&) = delete;

private:
    Environment& m_environment;
};

struct NamespaceSchema {
    const char* nameSpace;
    const char* file;
};

String readSchema(const String& path) {
    return blocxx::FileSystem::getFileContents(path, blocxx::FileSystem::NamedBy::US);
}

constexpr NamespaceSchema SCHEMA[] = {
    {Layout::INTEROP_NS, "interop.mof"},
    {Layout::SECURITY_NS, "security.mof"},
    {Layout::KOV_NS, "kov.mof"},
};

Array<CIMQualifierType> compileQualifiers(const String& path) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(readSchema(path), {}, SCHEMA[0].nameSpace, instances, classes, qualifierTypes,
                    path);
    return qualifierTypes;
}

void loadClasses(const CIMOMHandleIFCRef& handle, const String& ns, const String& path) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(readSchema(path), handle, ns, instances, classes, qualifierTypes, path);
    for (const auto& cls : classes) {
        handle->createClass(ns, cls);
    }
}

void fill(const blocxx::IntrusiveReference<RepositoryCIMOMHandle>& handle,
          const String& schemaDirectory) {
    const auto qualifierTypes = compileQualifiers(schemaDirectory + "/qualifiers.mof");
    for (const auto& [ns, file] : SCHEMA) {
        handle->createNameSpace(ns);
        for (const auto& qualifierType : qualifierTypes) {
            handle->setQualifierType(ns, qualifierType);
        }
        loadClasses(handle, ns, schemaDirectory + "/" + file);
    }
}

}  // namespace

void buildRepository(const String& directory, const String& schemaDirectory) {
    CIMRepository::create(directory);
    const blocxx::IntrusiveReference<Environment> environment(new Environment(directory));
    const CIMRepositoryRef repository(new CIMRepository);
    LocalOperationContext context;
    const blocxx::IntrusiveReference<RepositoryCIMOMHandle> handle(
        new RepositoryCIMOMHandle(repository, context));
    const HandleLease lease(*environment, handle);
    repository->init(environment);
    fill(handle, schemaDirectory);
    repository->close();
}

}  // namespace KovSetup
