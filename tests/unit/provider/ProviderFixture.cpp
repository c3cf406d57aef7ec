// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/provider/ProviderFixture.hpp"

#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNProductRegistration.hpp"

namespace KOVNS2::Testing {

namespace fs = std::filesystem;

String instanceMof(const String& className, const MofProperties& properties) {
    String text = "instance of " + className + " {\n";
    for (const auto& [name, value] : properties) {
        if (!value.empty()) {
            text += "    " + name + " = " + value + ";\n";
        }
    }
    return text + "};\n";
}

namespace {

String quoted(const String& text) {
    return "\"" + text + "\"";
}

MofProperties with(MofProperties properties, const MofProperties& changed) {
    for (const auto& [name, value] : changed) {
        properties[name] = value;
    }
    return properties;
}

}  // namespace

String registrationMof(const String& name, const MofProperties& changed) {
    return instanceMof("OpenWBEM_OOPProviderRegistration",
                       with({{"InstanceID", quoted("sample:" + name)},
                             {"Process", "\"/usr/lib/sample/provider\""},
                             {"Protocol", "\"owcpp1\""},
                             {"ClassName", quoted("Sample_" + name)},
                             {"NamespaceNames", "{\"sample\"}"},
                             {"ProviderTypes", "{1}"},
                             {"UserContext", "3"}},
                            changed));
}

String processMof(const String& name, const MofProperties& changed) {
    return instanceMof("OpenWBEM_OOPProviderProcess",
                       with({{"InstanceID", quoted("sample:" + name)},
                             {"Process", "\"/usr/lib/sample/provider\""},
                             {"Protocol", "\"owcpp1\""},
                             {"ClassName", quoted("Sample_" + name)},
                             {"UserContext", "3"}},
                            changed));
}

String processWithCapabilitiesMof(const String& name, const MofProperties& changed) {
    const String id = "sample:" + name;
    return processMof(name, changed) +
           instanceMof("OpenWBEM_OOPProviderCapabilities", {{"InstanceID", quoted(id + "-caps")},
                                                            {"ClassName", "\"Sample_Served\""},
                                                            {"NamespaceNames", "{\"sample\"}"},
                                                            {"ProviderTypes", "{1, 5}"}}) +
           instanceMof(
               "OpenWBEM_OOPProviderProcessCapabilities",
               {{"ManagedElement", R"("OpenWBEM_OOPProviderProcess.InstanceID=\")" + id + R"(\"")"},
                {"Capabilities",
                 R"("OpenWBEM_OOPProviderCapabilities.InstanceID=\")" + id + R"(-caps\"")"}});
}

String providerMof(const String& content) {
    return "#pragma namespace(\"sample\")\n" + content;
}

String classMof(const String& name) {
    return "class Sample_" + name + " {\n    [Key] string Id;\n    string Text;\n};\n";
}

ProviderFixture::ProviderFixture() {
    OpenRepository repository(m_tree);
    registerProduct(repository.handle(), "sample", {"alice"}, m_tree.prefix());
    registerNamespaces(repository.handle(), "sample", {"alice"}, {}, {"sample", "sample/two"},
                       m_tree.prefix(), m_undo);
    repository.handle()->commit();
    m_undo.clear();
    m_log.clear();
}

String ProviderFixture::entry(const String& name, const String& regMof, const String& provMof,
                              const String& privileges) const {
    const fs::path directory = fs::path(m_tree.prefix()) / "files";
    fs::create_directories(directory);
    writeFile(directory / (name + ".reg"), regMof);
    writeFile(directory / (name + ".mof"), provMof);
    String line = "oop1,files/" + name + ".reg,/files/" + name + ".mof";
    if (!privileges.empty()) {
        writeFile(directory / (name + ".priv"), privileges);
        line += ",files/" + name + ".priv";
    }
    return line + "\n";
}

void ProviderFixture::registerList(OpenRepository& repository, const String& list,
                                   const String& product) {
    const fs::path file = fs::path(m_tree.prefix()) / "list.txt";
    writeFile(file, list);
    undoOnFailure(m_undo, [&] {
        RegisterProviders(repository.handle(), product, file.string(), m_tree.prefix(), m_undo);
    });
}

void ProviderFixture::deregisterAll(OpenRepository& repository, const String& product) {
    undoOnFailure(m_undo, [&] {
        DeregisterProviders(repository.handle(), product, m_tree.prefix(), m_undo);
    });
}

StringArray ProviderFixture::listed(OpenRepository& repository, const String& product) const {
    return ListProviders(repository.handle(), product, m_tree.prefix());
}

fs::path ProviderFixture::oopFile(const String& name) const {
    return m_tree.privilegeDirectory() / "owcimomd" / ("oop1-sample_" + name);
}

fs::path ProviderFixture::ownFile(const String& name) const {
    return m_tree.privilegeDirectory() / ("oop1-sample_" + name);
}

std::map<String, String> ProviderFixture::privilegeFiles() const {
    std::map<String, String> found;
    for (const auto& file : fs::recursive_directory_iterator(m_tree.privilegeDirectory())) {
        if (!file.is_directory()) {
            found[fs::relative(file.path(), m_tree.privilegeDirectory()).string()] =
                Testing::readFile(file.path());
        }
    }
    return found;
}

CIMInstance ProviderFixture::read(OpenRepository& repository, const String& ns,
                                  const String& path) const {
    CIMObjectPath parsed = CIMObjectPath::parse(path);
    parsed.syncWithClass(repository.handle()->getClass(ns, parsed.getClassName()));
    return repository.handle()->getInstance(ns, parsed);
}

}  // namespace KOVNS2::Testing
