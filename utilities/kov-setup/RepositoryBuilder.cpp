// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/RepositoryBuilder.hpp"

#include "blocxx/FileSystem.hpp"
#include "layout/Layout.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KovSetup {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

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

void fill(const OpenRepository& opened, const String& schemaDirectory) {
    const auto qualifierTypes = compileQualifiers(schemaDirectory + "/qualifiers.mof");
    for (const auto& [ns, file] : SCHEMA) {
        opened->createNameSpace(ns);
        for (const auto& qualifierType : qualifierTypes) {
            opened->setQualifierType(ns, qualifierType);
        }
        loadClasses(opened.handle(), ns, schemaDirectory + "/" + file);
    }
}

}  // namespace

void buildRepository(const String& directory, const String& schemaDirectory) {
    CIMRepository::create(directory);
    const OpenRepository opened(directory);
    fill(opened, schemaDirectory);
    opened.repository().close();
}

}  // namespace KovSetup
