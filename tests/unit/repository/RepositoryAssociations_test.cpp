// SPDX-License-Identifier: Apache-2.0
//
// Associators and references of instances and classes.
#include <gmock/gmock.h>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using T = CIMDataType;

class RepositoryAssociations : public SubjectTest {
protected:
    RepositoryAssociations() {
        handle.createInstance("test", person("ann"));
        handle.createInstance("test", person("ben", "Student"));
        handle.createInstance("test", car(1));
        handle.createInstance("test", car(2));
        handle.createInstance("test", owns(personPath("ann"), carPath(1)));
        handle.createInstance("test", owns(personPath("ann"), carPath(2)));
        handle.createInstance("test", owns(personPath("ben", "Student"), carPath(2)));
    }

    template <class Call>
    StringArray collect(Call call) {
        StringArray found;
        auto receiver = makeResultHandler<CIMObjectPath>(
            [&](const CIMObjectPath& path) { found.push_back(path.toString()); });
        call(receiver);
        return found;
    }
    StringArray ends(const CIMObjectPath& path, const AssociationFilter& filter = {}) {
        return collect([&](auto& r) { handle.associatorNames("test", path, r, filter); });
    }
    StringArray links(const CIMObjectPath& path, const AssociationFilter& filter = {}) {
        return collect([&](auto& r) { handle.referenceNames("test", path, r, filter); });
    }
};

const char* const CAR1 = "test:Car.Number=1";
const char* const CAR2 = "test:Car.Number=2";
const char* const ANN = "test:Person.Name=\"ann\"";
const char* const BEN = "test:Student.Name=\"ben\"";

TEST_F(RepositoryAssociations, LeadToTheOtherEnds) {
    EXPECT_THAT(ends(personPath("ann")), ElementsAre(CAR1, CAR2));
    EXPECT_THAT(ends(carPath(2)), ElementsAre(ANN, BEN));
    EXPECT_THAT(ends(carPath(3)), IsEmpty());
    EXPECT_EQ(2u, links(personPath("ann")).size());
    EXPECT_EQ(2u, handle.associatorsA("test", carPath(2), {}).size());
}

TEST_F(RepositoryAssociations, AreFilteredByClassAndRole) {
    struct Row {
        AssociationFilter filter;
        size_t found;
    };
    const Row rows[] = {
        {{"owns", "", "", ""}, 2},    {{"Car", "", "", ""}, 0},
        {{"None", "", "", ""}, 0},    {{"", "Person", "", ""}, 2},
        {{"", "student", "", ""}, 1}, {{"", "root", "", ""}, 2},
        {{"", "Car", "", ""}, 0},     {{"", "None", "", ""}, 0},
        {{"", "", "THING", ""}, 2},   {{"", "", "Owner", ""}, 0},
        {{"", "", "", "OWNER"}, 2},   {{"", "", "", "Thing"}, 0},
        {{"", "", "None", ""}, 0},    {{"Owns", "Student", "Thing", "Owner"}, 1},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.found, ends(carPath(2), row.filter).size())
            << row.filter.assocClass << " " << row.filter.resultClass << " " << row.filter.role
            << " " << row.filter.resultRole;
    }
    EXPECT_EQ(2u, links(carPath(2), {"", "Owns", "Thing", ""}).size());
    EXPECT_EQ(0u, links(carPath(2), {"", "Owns", "Owner", ""}).size());
    EXPECT_EQ(0u, links(carPath(2), {"", "Person", "", ""}).size());
    EXPECT_EQ(4, statusOf([&] { ends(carPath(2), {"a b", "", "", ""}); }));
    EXPECT_EQ(4, statusOf([&] { ends(CIMObjectPath("Car")); }));
}

TEST_F(RepositoryAssociations, FollowChangesAndDeletions) {
    handle.deleteInstance("test", carPath(2));
    EXPECT_THAT(ends(personPath("ann")), ElementsAre(CAR1)) << "what is gone is not delivered";
    EXPECT_EQ(2u, links(carPath(2)).size()) << "the associations stay";
    const CIMObjectPath link("test", handle.enumInstancesA("test", "Owns").at(0));
    handle.deleteInstance("test", link);
    EXPECT_THAT(ends(personPath("ann")), IsEmpty());
    handle.createInstance("test", car(2));
    EXPECT_THAT(ends(personPath("ann")), ElementsAre(CAR2));
}

TEST_F(RepositoryAssociations, AClassIsNotTakenForADeletedOne) {
    struct Paths {
        CIMObjectPath thing;
        CIMObjectPath link;
    };
    const auto put = [&](const String& cls, const String& super, const CIMPropertyArray& own) {
        handle.createClass("test", makeClass(cls, super, own));
        CIMInstance instance(cls);
        instance.setProperty("Number", CIMValue(uint32_t{7}));
        const CIMObjectPath thing = handle.createInstance("test", instance);
        return Paths{thing, handle.createInstance("test", owns(personPath("ann"), thing))};
    };
    const AssociationFilter vans{"", "Van", "", ""};
    handle.createClass("test", makeClass("Van", "Car", {}));
    const Paths truck = put("Truck", "Van", {property("Load", T::UINT8)});
    EXPECT_THAT(ends(personPath("ann"), vans), ElementsAre("test:Truck.Number=7"));
    handle.deleteInstance("test", truck.link);
    handle.deleteInstance("test", truck.thing);
    handle.deleteClass("test", "Truck");
    EXPECT_EQ(CIMException::NOT_FOUND, statusOf([&] { handle.getClass("test", "Truck"); }));

    // The new class reuses the number of the deleted one in the file.
    put("Bike", "Car", {});
    EXPECT_THAT(ends(personPath("ann"), vans), IsEmpty());
    handle.createClass("test", makeClass("truck", "Van", {property("Height", T::UINT8)}));
    const CIMClass anew = handle.getClass("test", "Truck");
    EXPECT_NE(nullptr, anew.getProperty("Height"));
    EXPECT_EQ(nullptr, anew.getProperty("Load"));
}

TEST_F(RepositoryAssociations, FollowAReferenceThatIsNotAKey) {
    handle.createClass(
        "test", makeClass("Likes", "",
                          {property("Id", T::STRING, true), property("Who", T::reference("Person")),
                           property("What", T::reference("Car"))},
                          {flag("Association")}));
    CIMInstance likes("Likes");
    likes.setProperty("Id", CIMValue("1"));
    likes.setProperty("Who", CIMValue(personPath("ann")));
    likes.setProperty("What", CIMValue(carPath(1)));
    handle.createInstance("test", likes);
    const AssociationFilter filter{"Likes", "", "", ""};
    EXPECT_THAT(ends(personPath("ann"), filter), ElementsAre(CAR1));
    likes.setProperty("What", CIMValue(carPath(2)));
    handle.modifyInstance("test", likes, E_EXCLUDE_QUALIFIERS, nullptr);
    EXPECT_THAT(ends(personPath("ann"), filter), ElementsAre(CAR2));
    EXPECT_THAT(ends(carPath(1), filter), IsEmpty());
}

TEST_F(RepositoryAssociations, AnObjectCanBeAssociatedWithItself) {
    handle.createClass("test", makeClass("Knows", "",
                                         {property("A", T::reference("Person"), true),
                                          property("B", T::reference("Person"), true)},
                                         {flag("Association")}));
    CIMInstance knows("Knows");
    knows.setProperty("A", CIMValue(personPath("ann")));
    knows.setProperty("B", CIMValue(personPath("ann")));
    handle.createInstance("test", knows);
    EXPECT_THAT(ends(personPath("ann"), {"Knows", "", "", ""}), ElementsAre(ANN));
    EXPECT_EQ(1u, links(personPath("ann"), {"", "Knows", "", ""}).size());
}

TEST_F(RepositoryAssociations, PathsFromTextFindWhatTypedPathsFind) {
    EXPECT_THAT(ends(CIMObjectPath::parse("car.number=2")), ElementsAre(ANN, BEN));
    const CIMObjectPath link =
        CIMObjectPath::parse("Owns.Thing=\"Car.Number=1\",Owner=\"test:Person.Name=\\\"ann\\\"\"");
    EXPECT_EQ(0, statusOf([&] {
                  handle.getInstance("test", link, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                                     E_EXCLUDE_CLASS_ORIGIN, nullptr);
              }));
    handle.createInstance("test", owns(CIMObjectPath::parse("Person.Name=\"ann\""),
                                       CIMObjectPath::parse("Car.Number=3")));
    handle.createInstance("test", car(3));
    EXPECT_THAT(ends(carPath(3)), ElementsAre(ANN));
}

/// Associations of associations: each has a reference to another one as a key.
class NestedReferences : public RepositoryAssociations {
protected:
    static constexpr const char* CLASSES[] = {"Owns", "Link1", "Link2", "Link3"};

    NestedReferences() {
        for (size_t i = 1; i < std::size(CLASSES); ++i) {
            handle.createClass("test", linkClass(i));
        }
    }
    static CIMClass linkClass(size_t level) {
        return makeClass(
            CLASSES[level], "",
            {property("Inner", CIMDataType::reference(CLASSES[level - 1]), true),
             property("Number", CIMDataType::UINT8, true), property("Remark", CIMDataType::STRING)},
            {flag("Association")});
    }
    static CIMInstance link(size_t level, const CIMObjectPath& inner) {
        return CIMInstance(CLASSES[level])
            .setProperty("Inner", CIMValue(inner))
            .setProperty("Number", CIMValue(uint8_t{7}));
    }
    /// Creates `levels` links, each around the one before. Returns the path of the outermost.
    CIMObjectPath create(size_t levels) {
        CIMObjectPath inner = CIMObjectPath(
            "test",
            handle.getInstance("test", CIMObjectPath::parse("Owns.Thing=\"Car.Number=1\",Owner="
                                                            "\"Person.Name=\\\"ann\\\"\"")));
        for (size_t level = 1; level <= levels; ++level) {
            inner = handle.createInstance("test", link(level, inner));
        }
        return inner;
    }
};

TEST_F(NestedReferences, AreFoundByTheirTextAtEveryDepth) {
    for (size_t levels = 1; levels < std::size(CLASSES); ++levels) {
        SCOPED_TRACE(levels);
        const CIMObjectPath typed = create(levels);
        for (const String& text : {typed.modelPath(), typed.toString()}) {
            const CIMObjectPath path = CIMObjectPath::parse(text);
            const CIMInstance found = handle.getInstance("test", path);
            EXPECT_EQ(CIMObjectPath("test", found), typed);

            CIMInstance changed =
                link(levels, path.getKeyValue("Inner").getType() == CIMDataType::REFERENCE
                                 ? path.getKeyValue("Inner").get<CIMObjectPath>()
                                 : CIMObjectPath::parse(path.getKeyValue("Inner").get<String>()));
            changed.setProperty("Remark", CIMValue("changed"));
            handle.modifyInstance("test", changed, E_EXCLUDE_QUALIFIERS, nullptr);
            EXPECT_EQ(handle.getInstance("test", typed).getPropertyValue("Remark").toString(),
                      "changed");

            handle.deleteInstance("test", path);
            EXPECT_EQ(CIMException::NOT_FOUND,
                      statusOf([&] { handle.deleteInstance("test", typed); }));
            EXPECT_EQ(handle.createInstance("test", found), typed);
        }
        for (size_t level = levels; level >= 1; --level) {
            for (const CIMInstance& left : handle.enumInstancesA("test", CLASSES[level])) {
                handle.deleteInstance("test", CIMObjectPath("test", left));
            }
        }
    }
}

TEST_F(NestedReferences, OfAnotherNamespaceAreFoundToo) {
    addSchema(*subject, "other");
    handle.createClass("other", linkClass(1));
    handle.createInstance("other", car(9));
    const CIMObjectPath ownsPath =
        handle.createInstance("other", owns(personPath("eve"), carPath(9)));
    const CIMObjectPath one = handle.createInstance("other", link(1, ownsPath));
    const CIMObjectPath two = handle.createInstance("test", link(2, one));
    EXPECT_EQ(
        CIMObjectPath("test", handle.getInstance("test", CIMObjectPath::parse(two.toString()))),
        two);
}

TEST_F(NestedReferences, ThatAreOlderThanTheClassInThemAreStillFound) {
    handle.deleteClass("test", "Link3");
    handle.deleteClass("test", "Link2");
    CIMClass loose = linkClass(2);
    loose.setProperties({property("Inner", CIMDataType::reference("Root"), true),
                         property("Number", CIMDataType::UINT8, true),
                         property("Remark", CIMDataType::STRING)});
    handle.createClass("test", loose);
    const CIMObjectPath later = CIMObjectPath::parse(
        R"(Link2.Inner="Later.Inner=\"Owns.Thing=\\\"Car.Number=1\\\",Owner=\\\"x\\\"\"",Number=7)");
    CIMInstance instance("Link2");
    instance.setProperty("Inner",
                         CIMValue(CIMObjectPath::parse(later.getKeyValue("Inner").get<String>())));
    instance.setProperty("Number", CIMValue(uint8_t{7}));
    const CIMObjectPath typed = handle.createInstance("test", instance);
    CIMClass laterClass = linkClass(1);
    handle.createClass("test", laterClass.setName("Later").setProperties(
                                   {property("Inner", CIMDataType::reference("Owns"), true)}));
    EXPECT_EQ(CIMObjectPath("test", handle.getInstance("test", later)), typed);
    handle.deleteInstance("test", typed);
    EXPECT_EQ(CIMException::NOT_FOUND, statusOf([&] { handle.getInstance("test", later); }));
}

TEST_F(NestedReferences, InATextThatGoesOnForEverAreRefused) {
    String text = "Link1.Number=7,Inner=\"Owns.Thing=1\"";
    for (int depth = 0; depth < 14; ++depth) {
        text = CIMObjectPath("Link1")
                   .setKeyValue("Inner", CIMValue(text))
                   .setKeyValue("Number", CIMValue(uint64_t{7}))
                   .modelPath();
    }
    EXPECT_EQ(CIMException::INVALID_PARAMETER,
              statusOf([&] { handle.getInstance("test", CIMObjectPath::parse(text)); }));
}

TEST_F(RepositoryAssociations, CrossNamespaces) {
    addSchema(*subject, "other");
    handle.createInstance("other", car(9));
    handle.createInstance("test", owns(personPath("ann"), carPath(9).setNameSpace("Other")));
    EXPECT_THAT(ends(carPath(9).setNameSpace("other")), ElementsAre(ANN));
    EXPECT_THAT(ends(personPath("ann")), UnorderedElementsAre(CAR1, CAR2, "Other:Car.Number=9"));
    if (subject->deleteNameSpace("other")) {
        EXPECT_THAT(ends(personPath("ann")), ElementsAre(CAR1, CAR2));
    }
}

TEST_F(RepositoryAssociations, OfClassesAreThoseThatTheirInstancesMayHave) {
    enum Question { TO, BY };
    const auto classes = [&](Question question, const String& name,
                             const AssociationFilter& filter) {
        StringArray found;
        auto receiver = makeResultHandler<CIMClass>(
            [&](const CIMClass& cls) { found.push_back(cls.getName()); });
        CIMOMHandleIFC& asked = handle;
        if (question == TO) {
            asked.associatorsClasses("test", CIMObjectPath(name), receiver, filter);
        } else {
            asked.referencesClasses("test", CIMObjectPath(name), receiver, filter);
        }
        return found;
    };
    EXPECT_THAT(classes(TO, "Student", {}), ElementsAre("Car"));
    EXPECT_THAT(classes(BY, "Person", {}), ElementsAre("Owns"));
    EXPECT_THAT(classes(BY, "Root", {}), IsEmpty());
    EXPECT_THAT(classes(BY, "Person", {"", "", "Thing", ""}), IsEmpty());
    EXPECT_THAT(classes(TO, "Car", {"Owns", "Root", "Thing", "Owner"}), ElementsAre("Person"));
    EXPECT_EQ(4, statusOf([&] { classes(TO, "None", {}); }));
}

TEST_F(RepositoryAssociations, ManyReferencesAreAllDelivered) {
    for (uint32_t i = 100; i < 900; ++i) {
        handle.createInstance("test", car(i));
        handle.createInstance("test", owns(personPath("ann"), carPath(i)));
    }
    EXPECT_EQ(802u, ends(personPath("ann")).size());
    EXPECT_EQ(802u, links(personPath("ann")).size());
}

}  // namespace
}  // namespace KovTest
