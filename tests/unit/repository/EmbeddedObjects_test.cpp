// SPDX-License-Identifier: Apache-2.0
//
// Embedded objects stay valid: a change that would make one of them invalid is refused, wherever
// the object is, and is allowed once the object is gone.
#include <gtest/gtest.h>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using T = CIMDataType;

CIMProperty embedding(const String& name, const CIMQualifier& qualifier, const CIMValue& value = {},
                      T type = T(T::STRING)) {
    CIMProperty result(name, std::move(type), value);
    result.setQualifiers({qualifier});
    return result;
}

CIMQualifier objects() {
    return CIMQualifier("EmbeddedObject", CIMValue(true));
}

CIMQualifier instancesOf(const String& className) {
    return CIMQualifier("EmbeddedInstance", CIMValue(className));
}

CIMClass part(uint16_t size = 1) {
    return makeClass("Part", "",
                     {property("Id", T::STRING, true), property("Size", CIMValue(size)),
                      property("Note", T::STRING), embedding("Inner", objects())});
}

CIMInstance partInstance(const String& className = "Part") {
    return CIMInstance(className)
        .setProperty("Size", CIMValue(uint16_t{7}))
        .setProperty("Note", CIMValue("n"));
}

CIMClass holder(const String& name = "Holder") {
    return makeClass(name, "",
                     {property("Id", T::STRING, true), embedding("One", instancesOf("Part")),
                      embedding("Any", objects()),
                      embedding("Many", instancesOf("part"), {}, T::array(T::STRING)),
                      property("Text", T::STRING)});
}

CIMInstance holding(const String& propertyName, const CIMValue& value, const String& id = "h") {
    return CIMInstance("Holder").setProperty("Id", CIMValue(id)).setProperty(propertyName, value);
}

CIMObjectPath holderPath(const String& id = "h", const String& className = "Holder") {
    return CIMObjectPath(className).setKeyValue("Id", CIMValue(id));
}

void addHolders(CIMOMHandleIFC& handle, const String& ns = "test") {
    handle.setQualifierType(ns, qualifierType("EmbeddedObject", T::BOOLEAN, CIMScope::PROPERTY));
    handle.setQualifierType(ns, qualifierType("EmbeddedInstance", T::STRING, CIMScope::PROPERTY));
    handle.createClass(ns, part());
    handle.createClass(ns, makeClass("SmallPart", "Part", {property("More", T::UINT8)}));
    handle.createClass(ns, makeClass("Lone", "", {property("Name", T::STRING)}));
    handle.createClass(ns, holder());
}

CIMClass oddClass(const String& super) {
    CIMQualifier description("Description", CIMValue("odd"));
    return makeClass("Odd", super, {property("Own", T::STRING)}, {description});
}

class EmbeddedObjectsTest : public SubjectTest {
protected:
    EmbeddedObjectsTest() { addHolders(handle); }

    void create(const CIMInstance& instance) { handle.createInstance("test", instance); }
    template <class Action>
    void expectRefused(int status, const String& message, Action action) {
        String text;
        EXPECT_EQ(statusOf(action, &text), status);
        EXPECT_NE(text.find(message), String::npos) << text;
    }
    void expectDeletable(const String& className, bool deletable = true) {
        if (deletable) {
            EXPECT_EQ(statusOf([&] { handle.deleteClass("test", className); }), 0);
        } else {
            expectRefused(9, "the class " + className + " is needed for the object embedded in ",
                          [&] { handle.deleteClass("test", className); });
        }
    }
};

TEST_F(EmbeddedObjectsTest, ClassOfAnEmbeddedInstanceIsNotDeletedWhereverItStands) {
    const CIMValue lone(CIMInstance("Lone").setProperty("Name", CIMValue("l")));
    for (const CIMInstance& instance :
         {holding("Any", lone),
          holding("Any",
                  CIMValue(partInstance().setProperty(CIMProperty("Inner", T::STRING, lone)))),
          holding(
              "Many",
              CIMValue::array<CIMInstance>(
                  {partInstance(),
                   partInstance("SmallPart").setProperty(CIMProperty("Inner", T::STRING, lone))})),
          holding("Any", CIMValue(makeClass("Odd", "Lone", {}))),
          holding("Any", CIMValue(makeClass("Odd", "", {embedding("P", objects(), lone)})))}) {
        create(instance);
        expectDeletable("Lone", false);
        handle.deleteInstance("test", holderPath());
    }
    create(holding("Text", CIMValue("instance of Lone { };")));
    expectDeletable("Lone");
}

TEST_F(EmbeddedObjectsTest, EmbeddedInstancesAreCompletedWhenTheyAreWritten) {
    const CIMValue inner(CIMInstance("Part").setProperty(CIMProperty("Size", T::UINT16)));
    const CIMValue part(CIMInstance("part").setProperty(CIMProperty("Inner", T::STRING, inner)));
    const CIMValue many = CIMValue::arrayOf(T::EMBEDDEDINSTANCE, {part, CIMValue(), part});
    const auto expectComplete = [](const CIMInstance& instance) {
        EXPECT_EQ(instance.getClassName(), "Part");
        EXPECT_EQ(instance.getProperties().size(), 4U);
        EXPECT_EQ(instance.getPropertyValue("Size"), CIMValue(uint16_t{1}));
        const auto within = instance.getPropertyValue("Inner").get<CIMInstance>();
        EXPECT_EQ(within.getProperties().size(), 4U);
        EXPECT_TRUE(within.getPropertyValue("Size").isNull()) << "null is no default";
    };
    const auto expectStored = [&] {
        const CIMInstance stored = handle.getInstance("test", holderPath());
        expectComplete(stored.getPropertyValue("One").get<CIMInstance>());
        const CIMValue all = stored.getPropertyValue("Many");
        ASSERT_EQ(all.getArraySize(), 3U);
        expectComplete(all.getElement(0).get<CIMInstance>());
        EXPECT_TRUE(all.isNullElement(1));
        expectComplete(all.getElement(2).get<CIMInstance>());
    };
    create(holding("One", part).setProperty("Many", many));
    expectStored();
    handle.deleteInstance("test", holderPath());
    create(holding("Text", CIMValue("t")));
    handle.modifyInstance("test", holding("One", part).setProperty("Many", many));
    expectStored();
}

// Each instance of the class has the default, and so has the instance in the default.
TEST_F(EmbeddedObjectsTest, DefaultThatEmbedsItsOwnClassIsNoEndlessWork) {
    handle.createClass("test",
                       makeClass("Ring", "",
                                 {property("Id", T::STRING, true),
                                  embedding("Next", objects(), CIMValue(CIMInstance("Ring"))),
                                  embedding("Other", objects(), CIMValue(CIMInstance("Ring")))}));
    create(CIMInstance("Ring").setProperty("Id", CIMValue("r")));
    const CIMInstance stored =
        handle.getInstance("test", CIMObjectPath("Ring").setKeyValue("Id", CIMValue("r")));
    EXPECT_EQ(stored.getPropertyValue("Next").get<CIMInstance>().getProperties().size(), 3U);
}

TEST_F(EmbeddedObjectsTest, ClassIsDeletedThoughItsOwnDefaultEmbedsIt) {
    handle.createClass("test",
                       makeClass("Ring", "",
                                 {property("Id", T::STRING, true),
                                  embedding("Next", objects(), CIMValue(CIMInstance("Ring")))}));
    expectDeletable("Ring");
}

TEST_F(EmbeddedObjectsTest, RefusalNamesTheHolderAndItsProperty) {
    create(holding("Any", CIMValue(CIMInstance("Lone")), "x"));
    expectRefused(
        9,
        "the class lone is needed for the object embedded in property \"Any\" of instance "
        "Holder.Id=\"x\": invalid class: there is no class \"Lone\"",
        [&] { handle.deleteClass("test", "lone"); });
}

TEST_F(EmbeddedObjectsTest, ClassIsNotDeletedForTheDefaultOfAnother) {
    handle.createClass("test",
                       makeClass("WithDefault", "",
                                 {property("Id", T::STRING, true),
                                  embedding("Any", objects(), CIMValue(CIMInstance("Lone")))}));
    expectDeletable("Lone", false);
    handle.deleteClass("test", "WithDefault");
    expectDeletable("Lone");
}

TEST_F(EmbeddedObjectsTest, HoldersMayInheritTheProperty) {
    handle.createClass("test", makeClass("LowHolder", "Holder", {}));
    CIMInstance low = holding("Any", CIMValue(CIMInstance("Lone")));
    low.setClassName("LowHolder");
    create(low);
    expectDeletable("Lone", false);
    handle.deleteInstance("test", holderPath("h", "LowHolder"));
    expectDeletable("Lone");
}

TEST_F(EmbeddedObjectsTest, ClassOfAnEmbeddedInstanceKeepsItsPropertiesAndTheirTypes) {
    create(holding("One", CIMValue(partInstance("SmallPart"))));
    CIMClass changed = part();
    const auto modify = [&] { handle.modifyClass("test", changed); };
    changed.setProperties({property("Id", T::STRING, true), property("Size", T::UINT16),
                           embedding("Inner", objects())});
    expectRefused(9, "the change would make invalid the object embedded in property \"One\" of ",
                  modify);
    changed.setProperties({property("Id", T::STRING, true), property("Size", T::UINT32),
                           property("Note", T::STRING), embedding("Inner", objects())});
    expectRefused(9, "\"Size\" of class SmallPart is of type uint32", modify);
    changed = part(2);
    EXPECT_EQ(statusOf(modify), 0) << "another default";
    CIMPropertyArray more = part().getProperties();
    more.push_back(property("New", T::STRING));
    changed.setProperties(more);
    EXPECT_EQ(statusOf(modify), 0) << "another property";
}

TEST_F(EmbeddedObjectsTest, SuperclassOfAnEmbeddedClassKeepsWhatThatOverrides) {
    CIMClass odd = oddClass("Lone");
    odd.setProperties({property("Name", T::STRING)});
    create(holding("Any", CIMValue(odd)));
    expectRefused(9, "the object embedded in property \"Any\"", [&] {
        handle.modifyClass("test", makeClass("Lone", "", {property("Name", T::UINT8)}));
    });
}

TEST_F(EmbeddedObjectsTest, EmbeddedInstanceStaysBelowTheClassThatIsAskedFor) {
    create(holding("One", CIMValue(partInstance("SmallPart"))));
    expectRefused(9, "an instance of \"SmallPart\" stands where one of \"Part\" may", [&] {
        handle.modifyClass("test",
                           makeClass("SmallPart", "",
                                     {property("Id", T::STRING, true), property("Size", T::UINT16),
                                      property("Note", T::STRING), property("More", T::UINT8),
                                      embedding("Inner", objects())}));
    });
}

TEST_F(EmbeddedObjectsTest, QualifierTypesOfEmbeddedObjectsStay) {
    handle.setQualifierType("test", qualifierType("Mark", T::STRING, CIMScope::ANY));
    CIMInstance marked("Lone");
    marked.setQualifiers({CIMQualifier("Mark", CIMValue("m"))});
    CIMClass markedClass("Odd");
    markedClass.setProperties({embedding("P", CIMQualifier("Mark", CIMValue("m")))});
    for (const CIMValue& value : {CIMValue(marked), CIMValue(markedClass)}) {
        create(holding("Any", value));
        expectRefused(1,
                      "the qualifier type \"MARK\" cannot be deleted: it is needed for the object "
                      "embedded in property \"Any\" of instance Holder.Id=\"h\": ",
                      [&] { handle.deleteQualifierType("test", "MARK"); });
        expectRefused(1, "the qualifier type \"Mark\" cannot be replaced by that one", [&] {
            handle.setQualifierType("test", qualifierType("Mark", T::UINT8, CIMScope::ANY));
        });
        handle.setQualifierType("test", qualifierType("Mark", T::STRING, CIMScope::PROPERTY));
        handle.deleteInstance("test", holderPath());
    }
    EXPECT_EQ(statusOf([&] { handle.deleteQualifierType("test", "Mark"); }), 0);
}

TEST_F(EmbeddedObjectsTest, PropertyOfInstancesStaysOfObjectsOrOfText) {
    const auto with = [](const CIMProperty& text) {
        CIMPropertyArray properties = holder().getProperties();
        properties.back() = text;
        return holder().setProperties(properties);
    };
    const auto modifyTo = [&](const CIMProperty& text) {
        return [this, cls = with(text)] { handle.modifyClass("test", cls); };
    };
    create(holding("Text", CIMValue("no object")));
    for (const CIMQualifier& qualifier : {objects(), instancesOf("Part")}) {
        expectRefused(9, "another kind of object embedded in the property \"Text\"",
                      modifyTo(embedding("Text", qualifier)));
    }
    handle.deleteInstance("test", holderPath());
    EXPECT_EQ(statusOf(modifyTo(embedding("Text", objects()))), 0);
    create(holding("Text", CIMValue(partInstance())));
    expectRefused(9, "another kind of object embedded in the property \"Text\"",
                  modifyTo(property("Text", T::STRING)));
    EXPECT_EQ(statusOf(modifyTo(embedding("Text", objects()))), 0);
}

TEST_F(EmbeddedObjectsTest, WhatDoesNotFitIsNotStored) {
    const struct {
        const char* sentence;
        int status;
        CIMInstance instance;
    } rows[] = {
        {"an unknown class", 5, holding("Any", CIMValue(CIMInstance("No")))},
        {"an unknown property", 12,
         holding("Any", CIMValue(CIMInstance("Lone").setProperty("No", CIMValue(true))))},
        {"another type", 13,
         holding("Any", CIMValue(partInstance().setProperty(
                            CIMProperty("Size", T::STRING, CIMValue("big")))))},
        {"an instance of another class", 13, holding("One", CIMValue(CIMInstance("Lone")))},
        {"a class where an instance may stand", 13, holding("One", CIMValue(oddClass("")))},
        {"one in an array", 13,
         holding("Many", CIMValue::array<CIMInstance>({partInstance(), CIMInstance("Lone")}))},
        {"one in another", 5,
         holding("Any",
                 CIMValue(partInstance().setProperty("Inner", CIMValue(CIMInstance("No")))))},
        {"an unknown superclass", 5, holding("Any", CIMValue(oddClass("No")))},
        {"text", 13, holding("Any", CIMValue("instance of Lone { };"))},
        {"objects where text may stand", 13, holding("Text", CIMValue(CIMInstance("Lone")))},
    };
    create(holding("Text", CIMValue("before"), "m"));
    const String before = dump(*subject);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        EXPECT_EQ(statusOf([&] { create(row.instance); }), row.status);
        CIMInstance modified = row.instance;
        modified.setProperty("Id", CIMValue("m"));
        EXPECT_EQ(statusOf([&] { handle.modifyInstance("test", modified); }), row.status);
    }
    EXPECT_EQ(dump(*subject), before);
}

TEST_F(EmbeddedObjectsTest, WhatWasDeletedOrReplacedHoldsNothing) {
    create(holding("Any", CIMValue(CIMInstance("Lone")), "a"));
    create(holding("Any", CIMValue(CIMInstance("Lone")), "b"));
    expectDeletable("Lone", false);
    handle.deleteInstance("test", holderPath("a"));
    expectDeletable("Lone", false);
    handle.modifyInstance("test", holding("Any", CIMValue(partInstance()), "b"));
    expectDeletable("Lone");
    expectDeletable("SmallPart");
    expectDeletable("Part", false);
}

TEST_F(EmbeddedObjectsTest, OtherNamespacesAreNotAffected) {
    addSchema(*subject, "other");
    addHolders(handle, "other");
    create(holding("Any", CIMValue(CIMInstance("Lone"))));
    EXPECT_EQ(statusOf([&] { handle.deleteClass("other", "Lone"); }), 0);
    expectDeletable("Lone", false);
}

/// Two handles on one repository.
class EmbeddedObjectsElsewhere : public RepositoryTest {
protected:
    static int deletion(OpenRepository& opened) {
        return statusOf([&] { opened->deleteClass("test", "Lone"); });
    }
};

TEST_F(EmbeddedObjectsElsewhere, WhatAnotherHasWrittenCounts) {
    const auto first = openWithSchema();
    addHolders(**first);
    (*first)->createClass("test", makeClass("Free", "", {}));
    (*first)->deleteClass("test", "Free");  // makes it look up which classes are embedded
    (*first)->commit();
    OpenRepository second(m_directory.path());
    second->createInstance("test", holding("Any", CIMValue(CIMInstance("Lone"))));
    second->commit();
    EXPECT_EQ(deletion(*first), 9);
    second->deleteInstance("test", holderPath());
    second->commit();
    EXPECT_EQ(deletion(*first), 0);
}

TEST_F(EmbeddedObjectsElsewhere, UnitThatWasRolledBackHasNotTakenAnythingAway) {
    {
        const auto opened = openWithSchema();
        addHolders(**opened);
        (*opened)->createInstance("test", holding("Any", CIMValue(CIMInstance("Lone"))));
        (*opened)->commit();
    }
    OpenRepository first(m_directory.path());
    EXPECT_EQ(deletion(first), 9);
    {
        OpenRepository second(m_directory.path());
        second->deleteInstance("test", holderPath());
        EXPECT_EQ(deletion(second), 0);
    }
    EXPECT_EQ(deletion(first), 9);
}

}  // namespace
}  // namespace KovTest
