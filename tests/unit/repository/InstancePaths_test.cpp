// SPDX-License-Identifier: Apache-2.0
//
// Instances that are handed out with their paths.
#include <gmock/gmock.h>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;

class InstancePaths : public ::testing::Test {
protected:
    InstancePaths() {
        subject->createNameSpace("test");
        subject->createNameSpace("other");
        addSchema(handle, "test");
        addSchema(handle, "other");
        handle.createInstance("test", person("ann"));
        handle.createInstance("other", car(1));
        CIMObjectPath elsewhere = carPath(1);
        elsewhere.setNameSpace("other");
        handle.createInstance("test", owns(personPath("ann"), elsewhere));
        wanted.propertyList = &none;
        wanted.withPath = true;
    }

    StringArray pathsOf(Operation operation, const CIMObjectPath* path, const String* name) {
        StringArray paths;
        auto receive = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
            EXPECT_TRUE(instance.getProperties().empty());
            paths.push_back(instance.getPath() ? instance.getPath().toString() : "none");
        });
        const AssociationFilter filter;
        OperationCall call{operation, ns};
        if (path != nullptr) {
            call.operand = path;
            call.filter = &filter;
        } else {
            call.operand = name;
        }
        call.results = &receive;
        call.wanted = wanted;
        handle.carryOut(call);
        return paths;
    }

    std::unique_ptr<Subject> subject = makeDirectSubject();
    CIMOMHandleIFC& handle = subject->handle();
    const String ns = "test";
    const String people = "Person";
    const CIMObjectPath ann = personPath("ann");
    const StringArray none;
    WantedParts wanted;
};

TEST_F(InstancePaths, AreThereWhereNoKeyIs) {
    EXPECT_THAT(pathsOf(Operation::ENUM_INSTANCES, nullptr, &people),
                ElementsAre("test:Person.Name=\"ann\""));
    EXPECT_THAT(pathsOf(Operation::REFERENCES, &ann, nullptr),
                ElementsAre(::testing::StartsWith("test:Owns.")));
}

TEST_F(InstancePaths, LeadToTheNamespaceOfAnAssociatedObject) {
    EXPECT_THAT(pathsOf(Operation::ASSOCIATORS, &ann, nullptr), ElementsAre("other:Car.Number=1"));
}

TEST_F(InstancePaths, AreOfTheInstanceThatIsGot) {
    OperationCall call{Operation::GET_INSTANCE, ns, &ann};
    call.wanted = wanted;
    const auto instance = std::get<CIMInstance>(handle.carryOut(call));
    EXPECT_EQ("test:Person.Name=\"ann\"", instance.getPath().toString());
}

TEST_F(InstancePaths, AreNotThereUnlessTheyAreWanted) {
    wanted.withPath = false;
    EXPECT_THAT(pathsOf(Operation::ENUM_INSTANCES, nullptr, &people), ElementsAre("none"));
    EXPECT_THAT(pathsOf(Operation::ASSOCIATORS, &ann, nullptr), ElementsAre("none"));
}

TEST_F(InstancePaths, CountInNoComparison) {
    CIMInstance instance = person("ann");
    instance.setPath(ann);
    EXPECT_EQ(person("ann"), instance);
    handle.modifyInstance("test", instance);
    EXPECT_FALSE(handle.getInstance("test", ann).getPath());
}

}  // namespace
}  // namespace KovTest
