// SPDX-License-Identifier: Apache-2.0
//
// Operations on classes, instances and qualifier types: what they do, and the status of each
// refusal.
#include <gmock/gmock.h>

#include "tests/unit/repository/Refusals.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using T = CIMDataType;

class RepositoryOperations : public SubjectTest {
protected:
    CIMInstance get(const CIMObjectPath& path, EIncludeQualifiersFlag q = E_EXCLUDE_QUALIFIERS,
                    const StringArray* list = nullptr) {
        return handle.getInstance("test", path, E_NOT_LOCAL_ONLY, q, E_EXCLUDE_CLASS_ORIGIN, list);
    }
    CIMClass getClass(const String& name, ELocalOnlyFlag local = E_NOT_LOCAL_ONLY) {
        return handle.getClass("test", name, local, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN,
                               nullptr);
    }
    void modify(const CIMInstance& instance, const StringArray* list = nullptr) {
        handle.modifyInstance("test", instance, E_EXCLUDE_QUALIFIERS, list);
    }
    StringArray names(const String& className) {
        StringArray result;
        for (const CIMObjectPath& path : handle.enumInstanceNamesA("test", className)) {
            result.push_back(path.toString());
        }
        return result;
    }
};

TEST_F(RepositoryOperations, EachRefusalHasItsStatus) {
    const Array<Refusal> rows = refusals(*subject);
    const String before = dump(*subject);
    for (const Refusal& row : rows) {
        EXPECT_EQ(row.status, statusOf(row.action)) << row.sentence;
    }
    EXPECT_EQ(before, dump(*subject));
}

TEST_F(RepositoryOperations, NamesAreFoundInAnyCaseAndKeepTheirSpelling) {
    handle.createInstance("TEST", person("Ann", "PERSON"));
    EXPECT_EQ("Person", getClass("pErSoN").getName());
    EXPECT_EQ(CIMValue("Ann"), get(personPath("Ann", "person")).getPropertyValue("NAME"));
    EXPECT_EQ(6, statusOf([&] { get(personPath("ann")); })) << "key values keep their case";
    EXPECT_THAT(names("person"), ElementsAre("test:Person.Name=\"Ann\""));
    EXPECT_EQ("Key", handle.getQualifierType("test", "KEY").getName());
}

TEST_F(RepositoryOperations, ClassesComeBackDerivedAndLocal) {
    const CIMClass student = getClass("Student");
    EXPECT_EQ(5u, student.getProperties().size());
    ASSERT_NE(nullptr, student.getProperty("Name"));
    EXPECT_TRUE(student.getProperty("Name")->isKey());
    EXPECT_TRUE(student.getProperty("Name")->isPropagated());
    EXPECT_EQ("Person", student.getProperty("Name")->getClassOrigin());
    EXPECT_EQ(1u, getClass("Student", E_LOCAL_ONLY).getProperties().size());
}

TEST_F(RepositoryOperations, SuperclassesComeBeforeTheirSubclasses) {
    EXPECT_THAT(handle.enumClassNamesA("test", "", E_DEEP),
                ElementsAre("Owns", "Root", "Car", "Person", "Student"));
    EXPECT_THAT(handle.enumClassNamesA("test", ""), ElementsAre("Owns", "Root"));
    EXPECT_THAT(handle.enumClassNamesA("test", "root", E_DEEP),
                ElementsAre("Car", "Person", "Student"));
    EXPECT_THAT(handle.enumClassNamesA("test", "Person"), ElementsAre("Student"));
}

TEST_F(RepositoryOperations, InstancesOfSubclassesAreDelivered) {
    handle.createInstance("test", person("b", "Student"));
    handle.createInstance("test", person("c"));
    handle.createInstance("test", person("a"));
    EXPECT_THAT(names("Root"), ElementsAre("test:Person.Name=\"c\"", "test:Person.Name=\"a\"",
                                           "test:Student.Name=\"b\""));
    EXPECT_EQ(3u, handle.enumInstancesA("test", "Person").size());
    EXPECT_THAT(names("Student"), ElementsAre("test:Student.Name=\"b\""));
    EXPECT_EQ(6, statusOf([&] { get(personPath("b")); })) << "a path names the creation class";
}

TEST_F(RepositoryOperations, ShallowInstancesLeaveOutWhatTheNamedClassLacks) {
    handle.createInstance("test", person("b", "Student"));
    Array<CIMInstance> found;
    ArrayBuilder<CIMInstance> builder(found);
    handle.enumInstances("test", "Person", builder, E_SHALLOW, E_NOT_LOCAL_ONLY,
                         E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr);
    ASSERT_EQ(1u, found.size());
    EXPECT_EQ("Student", found[0].getClassName());
    EXPECT_EQ(nullptr, found[0].getProperty("School"));
    EXPECT_NE(nullptr, found[0].getProperty("Age"));
}

TEST_F(RepositoryOperations, InstancesAreCompletedFromTheirClass) {
    const CIMObjectPath path = handle.createInstance("test", person("ann"));
    EXPECT_EQ("test:Person.Name=\"ann\"", path.toString());
    const CIMInstance found = get(path);
    EXPECT_EQ(4u, found.getProperties().size());
    EXPECT_EQ(CIMValue(uint16_t(30)), found.getPropertyValue("Age"));
    EXPECT_TRUE(found.getPropertyValue("Nicknames").isNull());
    EXPECT_TRUE(found.getProperty("Name")->isKey());
    EXPECT_EQ(nullptr, found.getProperty("Name")->getQualifier("Key"));
    EXPECT_NE(nullptr, get(path, E_INCLUDE_QUALIFIERS).getProperty("Name")->getQualifier("Key"));
    const StringArray list{"age", "nothing"};
    EXPECT_EQ(1u, get(path, E_EXCLUDE_QUALIFIERS, &list).getProperties().size());
}

TEST_F(RepositoryOperations, AnInstanceInTheDefaultNamespaceOfAnotherIsAnother) {
    addSchema(*subject, "other");
    handle.createInstance("other", person("ann"));
    EXPECT_EQ(6, statusOf([&] { get(personPath("ann")); }));
    if (subject->deleteNameSpace("Other")) {
        EXPECT_EQ(3, statusOf([&] { handle.enumInstancesA("other", "Person"); }));
    }
    EXPECT_EQ(0, statusOf([&] { getClass("Person"); }));
}

TEST_F(RepositoryOperations, ModifyingChangesWhatIsNamedAndKeepsTheRest) {
    CIMInstance ann = person("ann");
    ann.setProperty("Note", CIMValue("first"));
    handle.createInstance("test", ann);
    CIMInstance change = person("ann");
    change.setProperty("Age", CIMValue(uint16_t(31)));
    change.setProperty("Note", CIMValue("second"));
    const StringArray onlyAge{"AGE"};
    modify(change, &onlyAge);
    EXPECT_EQ(CIMValue(uint16_t(31)), get(personPath("ann")).getPropertyValue("Age"));
    EXPECT_EQ(CIMValue("first"), get(personPath("ann")).getPropertyValue("Note"));
    modify(change);
    EXPECT_EQ(CIMValue("second"), get(personPath("ann")).getPropertyValue("Note"));
    change.setProperty(CIMProperty("Note", T::STRING));
    modify(change);
    EXPECT_TRUE(get(personPath("ann")).getPropertyValue("Note").isNull());
}

TEST_F(RepositoryOperations, ModifyingRefusesAKeyThatIsNone) {
    handle.createInstance("test", person("ann"));
    CIMProperty age = property("Age", T::UINT16, true);
    age.setValue(CIMValue(uint16_t(7)));
    CIMInstance change = person("ann");
    change.setProperty(age);
    String message;
    EXPECT_EQ(4, statusOf([&] { modify(change); }, &message));
    EXPECT_THAT(message, ::testing::HasSubstr("property \"Age\" is no key of the instance"));
    EXPECT_EQ(CIMValue(uint16_t(30)), get(personPath("ann")).getPropertyValue("Age"));
}

TEST_F(RepositoryOperations, AClassWithoutUsersMayChangeFreely) {
    handle.createClass("test", makeClass("Free", "Root", {property("A", T::STRING, true)}));
    handle.modifyClass("test", makeClass("Free", "", {property("B", T::UINT8, true)}));
    EXPECT_EQ(nullptr, getClass("Free").getProperty("A"));
    EXPECT_EQ(nullptr, getClass("Free").getProperty("Note"));
    EXPECT_EQ("", getClass("Free").getSuperClass());
}

TEST_F(RepositoryOperations, ANullDefaultReplacesTheInheritedOne) {
    handle.createClass("test", makeClass("Ageless", "Person", {property("Age", T::UINT16)}));
    EXPECT_TRUE(getClass("Ageless").getProperty("Age")->getValue().isNull());
    CIMClass older = getClass("Person", E_LOCAL_ONLY);
    CIMPropertyArray properties = older.getProperties();
    for (CIMProperty& each : properties) {
        if (each.getName() == "Age") {
            each.setValue(CIMValue(uint16_t{40}));
        }
    }
    handle.modifyClass("test", older.setProperties(properties));
    EXPECT_EQ(CIMValue(uint16_t{40}), getClass("Student").getProperty("Age")->getValue());
    EXPECT_TRUE(getClass("Ageless").getProperty("Age")->getValue().isNull());
    EXPECT_TRUE(get(handle.createInstance("test", person("ann", "Ageless")))
                    .getPropertyValue("Age")
                    .isNull());
}

TEST_F(RepositoryOperations, AClassInUseMayOnlyChangeSoThatItsUsersStayValid) {
    handle.createInstance("test", person("ann", "Student"));
    const CIMClass person = getClass("Person", E_LOCAL_ONLY);
    CIMPropertyArray properties = person.getProperties();
    CIMClass added = person;
    properties.push_back(property("Shoe", CIMValue(uint8_t(40))));
    handle.modifyClass("test", added.setProperties(properties));
    EXPECT_EQ(CIMValue(uint8_t(40)), get(personPath("ann", "Student")).getPropertyValue("Shoe"));
    CIMClass moved = person;
    EXPECT_EQ(8, statusOf([&] { handle.modifyClass("test", moved.setSuperClass("")); }));
    EXPECT_EQ(9, statusOf([&] { handle.modifyClass("test", person); })) << "Shoe would go";
    properties.push_back(property("Second", T::STRING, true));
    EXPECT_EQ(9, statusOf([&] { handle.modifyClass("test", added.setProperties(properties)); }));
    CIMClass clash = getClass("Root", E_LOCAL_ONLY);
    clash.setProperties({property("Note", T::STRING), property("School", T::UINT8)});
    const int status = statusOf([&] { handle.modifyClass("test", clash); });
    EXPECT_EQ(8, status) << "Student.School is a string";
}

TEST_F(RepositoryOperations, AClassWithInstancesStaysOfItsKind) {
    const CIMPropertyArray key{property("Id", T::UINT8, true)};
    const CIMClass plain = makeClass("Kind", "", key);
    const CIMClass association = makeClass("Kind", "", key, {flag("Association")});
    const CIMClass abstract = makeClass("Kind", "", key, {flag("Abstract")});
    handle.createClass("test", plain);
    CIMInstance instance("Kind");
    instance.setProperty("Id", CIMValue(uint8_t(1)));
    const auto expectKept = [&](const CIMClass& kind, const CIMClass& changed) {
        String message;
        handle.modifyClass("test", kind);
        const CIMObjectPath path = handle.createInstance("test", instance);
        EXPECT_EQ(9, statusOf([&] { handle.modifyClass("test", changed); }, &message));
        EXPECT_THAT(message, HasSubstr("the change would make instances of class Kind invalid: "
                                       "another kind of class \"Kind\""));
        EXPECT_EQ(kind.isAssociation(), getClass("Kind").isAssociation());
        EXPECT_FALSE(getClass("Kind").isAbstract());
        handle.deleteInstance("test", path);
        EXPECT_EQ(0, statusOf([&] { handle.modifyClass("test", changed); }));
    };
    expectKept(plain, association);
    expectKept(association, plain);
    expectKept(plain, abstract);
}

TEST_F(RepositoryOperations, AQualifierTypeInUseMayOnlyChangeWithoutEffect) {
    CIMFlavor fixed;
    fixed.overridable = false;
    CIMQualifierType key = qualifierType("Key", T::BOOLEAN, CIMScope::ANY, fixed);
    EXPECT_EQ(0, statusOf([&] { handle.setQualifierType("test", key); }));
    EXPECT_EQ(CIMScope::ANY, handle.getQualifierType("test", "key").getScopes());
    key.setDataType(T::STRING);
    EXPECT_EQ(1, statusOf([&] { handle.setQualifierType("test", key); }));
    EXPECT_EQ(0, statusOf([&] { handle.deleteQualifierType("test", "Description"); }));
}

TEST_F(RepositoryOperations, AQualifierTypeCanBeDeletedOnceNoClassUsesIt) {
    handle.setQualifierType("test", qualifierType("Mark", T::STRING, CIMScope::ANY));
    handle.setQualifierType("test", qualifierType("Spare", T::STRING, CIMScope::ANY));
    const CIMQualifier mark("MARK", CIMValue("m"));
    CIMParameter parameter("P", T::UINT8);
    parameter.setQualifiers({mark});
    CIMMethod onMethod("M", T::UINT8);
    onMethod.setQualifiers({mark});
    CIMMethod onParameter("M", T::UINT8);
    onParameter.setParameters({parameter});
    CIMProperty onProperty = property("X", T::UINT8);
    onProperty.setQualifiers({mark});
    const auto refusal = [&] {
        String message;
        EXPECT_EQ(1, statusOf([&] { handle.deleteQualifierType("test", "Mark"); }, &message));
        return message.substr(message.rfind("class "));
    };
    handle.createClass("test", makeClass("Zebra", "", {onProperty}));
    EXPECT_EQ("class Zebra uses it", refusal());
    handle.createClass("test", makeClass("Ape", "", {}).setMethods({onParameter}));
    EXPECT_EQ("class Ape uses it", refusal());
    handle.modifyClass("test", makeClass("Ape", "", {}).setMethods({onMethod}));
    EXPECT_EQ("class Ape uses it", refusal());
    handle.modifyClass("test", makeClass("Ape", "", {}).setQualifiers({mark}));
    EXPECT_EQ("class Ape uses it", refusal());
    EXPECT_EQ(0, statusOf([&] { handle.deleteQualifierType("test", "Spare"); }));
    handle.modifyClass("test", makeClass("Ape", "", {}));
    EXPECT_EQ("class Zebra uses it", refusal());
    handle.deleteClass("test", "zebra");
    EXPECT_EQ(0, statusOf([&] { handle.deleteQualifierType("test", "mark"); }));
    EXPECT_EQ(6, statusOf([&] { handle.getQualifierType("test", "Mark"); }));
    EXPECT_EQ(0, statusOf([&] { handle.getQualifierType("test", "Key"); }));
    // The classes that used the deleted qualifier type do not count for a new one of the same name.
    handle.setQualifierType("test", qualifierType("Mark", T::UINT8, CIMScope::ANY));
    EXPECT_EQ(0, statusOf([&] { handle.deleteQualifierType("test", "Mark"); }));
}

TEST_F(RepositoryOperations, ReceiversMayChangeWhatIsBeingEnumerated) {
    for (uint32_t i = 0; i < 600; ++i) {
        handle.createInstance("test", car(i));
    }
    size_t seen = 0;
    uint32_t next = 1000;
    auto receiver = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& path) {
        ++seen;
        get(path);
        handle.createInstance("test", car(next++));
        handle.deleteInstance("test", path);
        handle.enumInstanceNamesA("test", "Person");
    });
    handle.enumInstanceNames("test", "Car", receiver);
    EXPECT_EQ(600u, seen);
    EXPECT_EQ(600u, names("Car").size());
    auto deleting = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        handle.deleteInstance("test", CIMObjectPath("test", instance));
    });
    handle.enumInstances("test", "Car", deleting, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                         E_EXCLUDE_CLASS_ORIGIN, nullptr);
    EXPECT_EQ(0u, names("Car").size());
    auto dropping = makeResultHandler<CIMClass>(
        [&](const CIMClass& cls) { statusOf([&] { handle.deleteClass("test", cls.getName()); }); });
    handle.enumClass("test", "", dropping, E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                     E_INCLUDE_CLASS_ORIGIN);
    EXPECT_THAT(handle.enumClassNamesA("test", "", E_DEEP), ElementsAre("Root", "Person"));
}

TEST_F(RepositoryOperations, NamespacesComeInTheOrderOfTheirCreation) {
    subject->createNameSpace("b/c");
    subject->createNameSpace("B");
    EXPECT_THAT(subject->nameSpaces(), ElementsAre("test", "b/c", "B"));
    if (subject->deleteNameSpace("b")) {
        EXPECT_THAT(subject->nameSpaces(), ElementsAre("test", "b/c")) << "those below stay";
        EXPECT_EQ(6, statusOf([&] { subject->deleteNameSpace("none"); }));
    }
}

TEST_F(RepositoryTest, NamesOfOwnMethodsAreCheckedBehindInheritedOnes) {
    const auto opened = openWithSchema();
    CIMMethod inherited("Inherited 1", CIMDataType::UINT8);
    inherited.setPropagated(true);
    const auto create = [&](const char* name) {
        CIMClass cls = makeClass("Fresh", "", {});
        cls.setMethods({inherited, CIMMethod(name, CIMDataType::UINT8)});
        return statusOf([&] { (*opened)->createClass("test", cls); });
    };
    EXPECT_EQ(CIMException::INVALID_PARAMETER, create("Own 1"));
    EXPECT_EQ(0, create("Own1"));
}

}  // namespace
}  // namespace KovTest
