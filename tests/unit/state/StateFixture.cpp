// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/state/StateFixture.hpp"

#include <algorithm>

#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2::Testing {

namespace fs = std::filesystem;

const char* const EXPECTED_HEADER = R"(<?xml version="1.0"?>
<!DOCTYPE SavedProductState [
<!ELEMENT SavedProductState (Version,SavedProducts)>
<!ELEMENT Version (#PCDATA)>
<!ELEMENT SavedProducts (Product*)>
<!ELEMENT Product (Name,AllowedUsers,ConfigFile?,NamespaceRegistration?,RegisteredProviders?,ProductInstances?)>
<!ELEMENT Name (#PCDATA)>
<!ELEMENT AllowedUsers (UserName+)>
<!ELEMENT ConfigFile (#PCDATA)>
<!ELEMENT NamespaceRegistration (Namespace+)>
<!ELEMENT Namespace (Name,NamespaceACLEntry+)>
<!ELEMENT NamespaceACLEntry (UserName,Capability)>
<!ELEMENT UserName (#PCDATA)>
<!ELEMENT Capability (#PCDATA)>
<!ELEMENT RegisteredProviders (OOP1ProviderRegistration*)>
<!ELEMENT OOP1ProviderRegistration (ProviderMOFNamespace, ProviderClassname, ProviderPrivileges, ProviderOOPIPrivileges, ProviderQualifiers, ProviderClasses, RegistrationInstances, ProviderInstances)>
<!ELEMENT ProviderMOFNamespace (#PCDATA)>
<!ELEMENT ProviderClassname (#PCDATA)>
<!ELEMENT ProviderPrivileges (#PCDATA)>
<!ELEMENT ProviderOOPIPrivileges (#PCDATA)>
<!ELEMENT ProviderQualifiers (Name*)>
<!ELEMENT ProviderClasses (Name*)>
<!ELEMENT RegistrationInstances (InstanceMOF*)>
<!ELEMENT ProviderInstances (Name*)>
<!ELEMENT ProductInstances (NamespaceInstances*)>
<!ELEMENT NamespaceInstances (Name,InstanceMOF*)>
<!ELEMENT InstanceMOF (#PCDATA)>
]>
)";

String element(const String& name, const String& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

String textElement(const String& name, const String& text) {
    String escaped;
    for (const char c : text) {
        escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '\r' ? "&#13;" : String(1, c);
    }
    return element(name, escaped);
}

String productElement(const String& name, const StringArray& users, const String& rest) {
    String userElements;
    for (const String& user : users) {
        userElements += textElement("UserName", user);
    }
    return element("Product",
                   textElement("Name", name) + element("AllowedUsers", userElements) + rest);
}

String document(const String& products) {
    return "<?xml version=\"1.0\"?>\n" +
           element("SavedProductState",
                   element("Version", "1") + element("SavedProducts", products));
}

String namespaceElement(const String& ns, const StringArray& entries) {
    String content = textElement("Name", ns);
    for (const String& entry : entries) {
        const size_t at = entry.find('=');
        content +=
            element("NamespaceACLEntry", textElement("UserName", entry.substr(0, at)) +
                                             textElement("Capability", entry.substr(at + 1)));
    }
    return element("Namespace", content);
}

String contentElement(const String& ns, const String& mof) {
    return element("NamespaceInstances", textElement("Name", ns) + textElement("InstanceMOF", mof));
}

void load(CIMOMHandleIFC& handle, const String& ns, const String& mof) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(mof, CIMOMHandleIFCRef(&handle), ns, instances, classes, qualifierTypes);
    for (const auto& qualifierType : qualifierTypes) {
        handle.setQualifierType(ns, qualifierType);
    }
    for (const auto& cls : classes) {
        handle.createClass(ns, cls);
    }
    for (const auto& instance : instances) {
        handle.createInstance(ns, instance);
    }
}

StateFixture::StateFixture() : m_filesBefore(fileNames()) {}

fs::path StateFixture::file() const {
    return m_directory.path() / "state.xml";
}

fs::path StateFixture::usersFile(const String& product) const {
    return m_tree.configDirectory() / (product + ".allowed_users.conf");
}

fs::path StateFixture::snippet(const String& product) const {
    return m_tree.configDirectory() / (product + ".conf");
}

void StateFixture::registerOne(OpenRepository& repository, const String& product,
                               const StringArray& users, const StringArray& namespaces,
                               const StringArray& readOnly) {
    registerProduct(repository.handle(), product, users, m_tree.prefix());
    if (!namespaces.empty()) {
        CleanupActions_t undo;
        registerNamespaces(repository.handle(), product, users, readOnly, namespaces,
                           m_tree.prefix(), undo);
        repository.handle()->commit();
    }
    m_log.clear();
}

String StateFixture::save(OpenRepository& repository) {
    ::testing::internal::CaptureStdout();
    try {
        saveProductStatesToFile(repository.handle(), file().string());
    } catch (...) {
        ::testing::internal::GetCapturedStdout();
        throw;
    }
    return ::testing::internal::GetCapturedStdout();
}

String StateFixture::save() {
    OpenRepository repository(m_tree);
    return save(repository);
}

String StateFixture::savedBody() const {
    const String content = readFile(file());
    EXPECT_TRUE(content.starts_with(EXPECTED_HEADER)) << content;
    return content.substr(std::min(content.size(), String(EXPECTED_HEADER).size()));
}

String StateFixture::restore(OpenRepository& repository) {
    ::testing::internal::CaptureStdout();
    try {
        undoOnFailure(m_undo, [&] {
            restoreProductStatesFromFile(repository.handle(), file().string(), m_tree.prefix(),
                                         m_undo);
        });
    } catch (...) {
        ::testing::internal::GetCapturedStdout();
        throw;
    }
    return ::testing::internal::GetCapturedStdout();
}

String StateFixture::restore(const String& content) {
    writeFile(file(), content);
    OpenRepository repository(m_tree);
    return restore(repository);
}

std::map<String, String> StateFixture::restored(const String& content) {
    writeFile(file(), content);
    OpenRepository repository(m_tree);
    restore(repository);
    return repository.content();
}

void StateFixture::expectRefused(const String& content, int code, const String& message) {
    SCOPED_TRACE(content);
    try {
        restore(content);
        ADD_FAILURE() << "restored";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), code);
        EXPECT_EQ(e.getMessage(), message);
    }
}

StringArray StateFixture::fileNames() const {
    StringArray names;
    for (const auto& [name, description] : m_tree.files()) {
        if (!name.starts_with("var/opt/tarvo/kov/openwbem/repository/")) {
            names.push_back(name);
        }
    }
    return names;
}

StringArray StateFixture::newFiles() const {
    StringArray names;
    std::ranges::set_difference(fileNames(), m_filesBefore, std::back_inserter(names));
    return names;
}

void StateFixture::expectLogged(const StringArray& lines) const {
    const StringArray logged = m_log.debugLines();
    auto from = logged.begin();
    for (const String& line : lines) {
        const auto found = std::find(from, logged.end(), line);
        if (found == logged.end()) {
            ADD_FAILURE() << "not logged, or not there: " << line;
        } else {
            from = found + 1;
        }
    }
}

}  // namespace KOVNS2::Testing
