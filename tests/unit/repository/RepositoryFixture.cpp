// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/repository/RepositoryFixture.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "openwbem/wire/CIMCodec.hpp"

namespace KovTest {

TemporaryDirectory::TemporaryDirectory() {
    String name = (std::filesystem::temp_directory_path() / "kov-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_path = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

String dump(RepositoryCIMOMHandle& handle) {
    StringArray namespaces;
    ArrayBuilder<String> builder(namespaces);
    handle.enumNameSpace(builder);
    return dump(handle, namespaces);
}

String dump(CIMOMHandleIFC& handle, const StringArray& namespaces) {
    String text;
    for (const String& ns : namespaces) {
        text += "namespace " + ns + "\n";
        for (const CIMQualifierType& type : handle.enumQualifierTypesA(ns)) {
            text += "qualifier " + Codec::encode(type) + "\n";
        }
        for (const CIMClass& cls : handle.enumClassA(
                 ns, "", E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN)) {
            text += "class " + Codec::encode(cls) + "\n";
        }
        for (const String& top : handle.enumClassNamesA(ns, "")) {
            for (const CIMInstance& instance : handle.enumInstancesA(ns, top)) {
                const CIMObjectPath path(ns, instance);
                text += "instance " + path.toString() + " " + Codec::encode(instance) + "\n";
                AssociationFilter none;
                auto names = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& other) {
                    text += "  referred to by " + other.toString() + "\n";
                });
                handle.referenceNames(ns, path, names, none);
            }
        }
    }
    return text;
}

String dump(const String& directory) {
    OpenRepository opened(directory);
    return dump(*opened);
}

CIMQualifierType qualifierType(const String& name, CIMDataType type, uint8_t scopes,
                               CIMFlavor flavor) {
    CIMQualifierType result(name);
    result.setDataType(std::move(type)).setScopes(scopes).setFlavor(flavor);
    return result;
}

CIMQualifier flag(const String& name) {
    CIMFlavor flavor;
    flavor.overridable = name != "Key";
    flavor.toSubclass = name != "Abstract";
    return CIMQualifier(name, CIMValue(true), flavor);
}

CIMProperty property(const String& name, CIMDataType type, bool key) {
    CIMProperty result(name, std::move(type));
    if (key) {
        result.setQualifiers({flag("Key")});
        result.setKey(true);
    }
    return result;
}

CIMProperty property(const String& name, const CIMValue& value) {
    return CIMProperty(name, value.getType(), value);
}

CIMClass makeClass(const String& name, const String& super, CIMPropertyArray properties,
                   CIMQualifierArray qualifiers) {
    CIMClass cls(name, super);
    cls.setProperties(std::move(properties)).setQualifiers(std::move(qualifiers));
    return cls;
}

void addSchema(RepositoryCIMOMHandle& handle, const String& ns) {
    handle.createNameSpace(ns);
    addSchema(static_cast<CIMOMHandleIFC&>(handle), ns);
}

void addSchema(Subject& subject, const String& ns) {
    subject.createNameSpace(ns);
    addSchema(subject.handle(), ns);
}

void addSchema(CIMOMHandleIFC& handle, const String& ns) {
    CIMFlavor fixed;
    fixed.overridable = false;
    CIMFlavor restricted;
    restricted.toSubclass = false;
    handle.setQualifierType(ns, qualifierType("Key", CIMDataType::BOOLEAN,
                                              CIMScope::PROPERTY | CIMScope::REFERENCE, fixed));
    handle.setQualifierType(
        ns, qualifierType("Association", CIMDataType::BOOLEAN, CIMScope::ASSOCIATION));
    handle.setQualifierType(ns, qualifierType("Abstract", CIMDataType::BOOLEAN,
                                              CIMScope::CLASS | CIMScope::ASSOCIATION, restricted));
    handle.setQualifierType(ns, qualifierType("Description", CIMDataType::STRING, CIMScope::ANY));
    using T = CIMDataType;
    handle.createClass(ns,
                       makeClass("Root", "", {property("Note", T::STRING)}, {flag("Abstract")}));
    handle.createClass(
        ns, makeClass("Person", "Root",
                      {property("Name", T::STRING, true), property("Age", CIMValue(uint16_t(30))),
                       property("Nicknames", T::array(T::STRING))}));
    handle.createClass(ns, makeClass("Student", "Person", {property("School", T::STRING)}));
    handle.createClass(ns, makeClass("Car", "Root", {property("Number", T::UINT32, true)}));
    handle.createClass(
        ns, makeClass("Owns", "",
                      {property("Owner", T::reference("Person"), true),
                       property("Thing", T::reference("Car"), true), property("Since", T::UINT16)},
                      {flag("Association")}));
}

CIMInstance person(const String& name, const String& className) {
    CIMInstance result(className);
    result.setProperty("Name", CIMValue(name));
    return result;
}

CIMInstance car(uint32_t number) {
    CIMInstance result("Car");
    result.setProperty("Number", CIMValue(number));
    return result;
}

void addCars(CIMOMHandleIFC& handle, const String& ns, uint32_t count, size_t noteSize) {
    const String note(noteSize, 'n');
    for (uint32_t i = 0; i < count; ++i) {
        CIMInstance instance = car(i);
        instance.setProperty("Note", CIMValue(note));
        handle.createInstance(ns, instance);
    }
}

CIMObjectPath personPath(const String& name, const String& className) {
    return CIMObjectPath(className).setKeyValue("Name", CIMValue(name));
}

CIMObjectPath carPath(uint32_t number) {
    return CIMObjectPath("Car").setKeyValue("Number", CIMValue(number));
}

CIMInstance owns(const CIMObjectPath& owner, const CIMObjectPath& thing) {
    CIMInstance result("Owns");
    result.setProperty("Owner", CIMValue(owner));
    result.setProperty("Thing", CIMValue(thing));
    return result;
}

namespace {

class DirectSubject : public Subject {
public:
    DirectSubject() {
        CIMRepository::create(m_directory.path());
        m_opened = std::make_unique<OpenRepository>(m_directory.path());
    }
    CIMOMHandleIFC& handle() override { return **m_opened; }
    void createNameSpace(const String& ns) override { (*m_opened)->createNameSpace(ns); }
    StringArray nameSpaces() override {
        StringArray found;
        ArrayBuilder<String> builder(found);
        (*m_opened)->enumNameSpace(builder);
        return found;
    }
    bool deleteNameSpace(const String& ns) override {
        (*m_opened)->deleteNameSpace(ns);
        return true;
    }

private:
    TemporaryDirectory m_directory;
    std::unique_ptr<OpenRepository> m_opened;
};

}  // namespace

std::unique_ptr<Subject> makeDirectSubject() {
    return std::make_unique<DirectSubject>();
}

std::unique_ptr<OpenRepository> RepositoryTest::openWithSchema() {
    auto opened = std::make_unique<OpenRepository>(m_directory.path());
    addSchema(**opened);
    return opened;
}

}  // namespace KovTest
