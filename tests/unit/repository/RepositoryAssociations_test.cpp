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

    // It is given the number that the deleted one had.
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
