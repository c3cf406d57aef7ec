// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/fennik/StagedTree.hpp"

#include <sys/stat.h>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2::Testing {

namespace fs = std::filesystem;

namespace {

// The qualifiers of a product's namespaces: so few that a test can fail at each of them.
constexpr const char* QUALIFIERS = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
)";

/// The content of a file of the schema.
String schema(const char* name) {
    return readFile(fs::path(KOV_SCHEMA) / name);
}

void load(const CIMOMHandleIFCRef& handle, const String& ns, const String& mof) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(mof, handle, ns, instances, classes, qualifierTypes);
    for (const auto& qualifierType : qualifierTypes) {
        handle->setQualifierType(ns, qualifierType);
    }
    for (const auto& cls : classes) {
        handle->createClass(ns, cls);
    }
}

}  // namespace

StagedTree::StagedTree() {
    for (const auto& directory :
         {repositoryDirectory(), configDirectory(), qualifiersFile().parent_path(),
          privilegeDirectory() / "owcimomd"}) {
        fs::create_directories(directory);
    }
    writeFile(qualifiersFile(), QUALIFIERS);
    CIMRepository::create(repositoryDirectory().string());
    OpenRepository repository(*this);
    const String qualifiers = schema("qualifiers.mof");
    const struct {
        const char* ns;
        const char* mof;
    } contents[] = {{"root", "interop.mof"}, {"root/security", "security.mof"}, {"kov", "kov.mof"}};
    for (const auto& [ns, mof] : contents) {
        repository.faults().createNameSpace(ns);
        load(repository.handle(), ns, qualifiers + schema(mof));
    }
    repository.handle()->commit();
}

fs::path StagedTree::repositoryDirectory() const {
    return root() / "var/opt/tarvo/kov/openwbem/repository";
}

fs::path StagedTree::configDirectory() const {
    return root() / "etc/opt/tarvo/kov/openwbem/openwbem.conf.d";
}

fs::path StagedTree::privilegeDirectory() const {
    return root() / "etc/opt/tarvo/kov/openwbem/privileges";
}

fs::path StagedTree::qualifiersFile() const {
    return root() / "opt/tarvo/kov/share/openwbem/qualifiers.mof";
}

std::map<String, String> StagedTree::files() const {
    std::map<String, String> found;
    for (const auto& entry : fs::recursive_directory_iterator(root())) {
        struct stat info {};
        ::lstat(entry.path().c_str(), &info);
        String description = std::to_string(info.st_mode);
        if (entry.is_symlink()) {
            description += " -> " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_regular_file()) {
            // A hash instead of the content, so that the message of a failure can be read.
            const String content = readFile(entry.path());
            description += " " + std::to_string(content.size()) + " bytes, hash " +
                           std::to_string(std::hash<String>()(content));
        }
        found[fs::relative(entry.path(), root()).string()] = description;
    }
    return found;
}

OpenRepository::OpenRepository(const StagedTree& tree)
    : m_opened(tree.repositoryDirectory().string()),
      m_handle(m_opened.followAssociationsThrough<FaultyHandle>()) {}

namespace {

void addInstances(CIMOMHandleIFC& handle, const String& ns, const CIMClass& cls,
                  std::map<String, String>& found) {
    for (const CIMInstance& instance : handle.enumInstancesA(ns, cls.getName())) {
        if (instance.getClassName() == cls.getName()) {
            found[ns + ": " + CIMObjectPath(ns, instance).toString()] = MOF::toMOF(instance);
        }
    }
}

}  // namespace

std::map<String, String> OpenRepository::content() {
    std::map<String, String> found;
    StringArray namespaces;
    ArrayBuilder<String> collect(namespaces);
    m_handle->enumNameSpace(collect);
    for (const String& ns : namespaces) {
        found[ns];
        for (const auto& qualifierType : m_handle->enumQualifierTypesA(ns)) {
            found[ns + ": " + qualifierType.getName()] = MOF::toMOF(qualifierType);
        }
        for (const auto& cls : m_handle->enumClassA(ns, "", E_DEEP, E_NOT_LOCAL_ONLY,
                                                    E_INCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN)) {
            found[ns + ": " + cls.getName()] = MOF::toMOF(cls);
            addInstances(*m_handle, ns, cls, found);
        }
    }
    return found;
}

}  // namespace KOVNS2::Testing
