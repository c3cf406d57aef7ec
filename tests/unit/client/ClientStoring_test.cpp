// SPDX-License-Identifier: Apache-2.0
//
// Storing many objects through the daemon gives the same result as storing them directly, and each
// call is carried out as a whole or not at all.
#include <gmock/gmock.h>

#include "openwbem/client/ClientConnection.hpp"
#include "openwbem/wire/CIMCodec.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

struct Objects {
    Array<CIMQualifierType> qualifierTypes;
    Array<CIMClass> classes;
    Array<CIMInstance> instances;

    operator ObjectsToStore() const { return {qualifierTypes, classes, instances}; }
};

CIMInstance carWithNote(uint32_t number, size_t size) {
    CIMInstance instance = car(number);
    instance.setProperty("Note", CIMValue(String(size, 'n')));
    return instance;
}

CIMClass bus(const String& property) {
    return makeClass("Bus", "Car", {KovTest::property(property, CIMDataType::STRING)});
}

/// More objects than fit into one call.
Objects manyObjects() {
    Objects objects;
    objects.qualifierTypes = {qualifierType("Fresh", CIMDataType::STRING, CIMScope::ANY)};
    objects.classes = {bus("Line"), makeClass("Tram", "Bus", {})};
    for (uint32_t number = 0; number < 200; ++number) {
        objects.instances.push_back(carWithNote(number, 1000));
    }
    objects.instances.push_back(carWithNote(1000, 200'000));
    objects.instances.push_back(person("ann"));
    objects.instances.push_back(owns(personPath("ann"), carPath(7)));
    return objects;
}

class StoringThroughADaemon : public SubjectTest {
protected:
    StoringThroughADaemon() : m_live(static_cast<ClientCIMOMHandle&>(handle)) {}

    String content() { return dump(handle, {"test"}); }
    void store(const Objects& objects) { m_live.store("test", objects); }
    /// Expects that storing fails. Returns the index of the object; the message is in m_message.
    size_t indexOfFailure(const Objects& objects) {
        try {
            store(objects);
        } catch (const ObjectStoringException& e) {
            m_message = e.getMessage();
            return e.index();
        }
        ADD_FAILURE() << "nothing failed";
        return 0;
    }

    ClientCIMOMHandle& m_live;
    String m_message;
};

TEST_F(StoringThroughADaemon, LeavesWhatStoringDirectlyLeaves) {
    const auto direct = makeDirectSubject();
    addSchema(*direct);
    const Objects objects = manyObjects();
    storeObjects(direct->handle(), "test", objects);
    store(objects);
    const String expected = dump(direct->handle(), {"test"});
    EXPECT_EQ(expected, content());
    store(objects);
    EXPECT_EQ(expected, content()) << "a second time it changes nothing";
}

TEST_F(StoringThroughADaemon, ChangesWhatExistsInAnotherForm) {
    store({{qualifierType("Fresh", CIMDataType::STRING, CIMScope::ANY)}, {bus("Line")}, {car(1)}});
    store({{qualifierType("Fresh", CIMDataType::BOOLEAN, CIMScope::ANY)},
           {bus("Route")},
           {carWithNote(1, 10)}});
    EXPECT_EQ(handle.getQualifierType("test", "Fresh").getDataType(), CIMDataType::BOOLEAN);
    EXPECT_EQ(handle.getClass("test", "Bus").getProperty("Line"), nullptr);
    EXPECT_NE(handle.getClass("test", "Bus").getProperty("Route"), nullptr);
    EXPECT_EQ(handle.getInstance("test", carPath(1)).getPropertyValue("Note"),
              CIMValue(String(10, 'n')));
}

TEST_F(StoringThroughADaemon, OfOneCallStoresAllOrNothing) {
    const String before = content();
    EXPECT_EQ(2u, indexOfFailure({{qualifierType("Fresh", CIMDataType::STRING, CIMScope::ANY)},
                                  {bus("Line"), makeClass("Lost", "Nowhere", {})},
                                  {car(1)}}));
    EXPECT_THAT(m_message, HasSubstr("the superclass Nowhere of class Lost does not exist"));
    EXPECT_EQ(before, content());
    store({{}, {bus("Line")}, {car(1)}});
    EXPECT_NE(before, content()) << "the connection goes on";
}

TEST_F(StoringThroughADaemon, CountsTheObjectsOfAllCallsAndKeepsThoseOfTheCallsBefore) {
    Objects objects;
    objects.instances = {carWithNote(0, 200'000), carWithNote(1, 200'000), car(2),
                         CIMInstance("Nothing"), car(3)};
    EXPECT_EQ(3u, indexOfFailure(objects));
    EXPECT_EQ(1u, handle.enumInstanceNamesA("test", "Car").size());
}

TEST_F(StoringThroughADaemon, OfVeryManySmallObjectsTakesCallsThatTheDaemonAccepts) {
    Objects objects;
    for (int i = 0; i < 5000; ++i) {
        objects.qualifierTypes.push_back(
            qualifierType("Q" + std::to_string(i), CIMDataType::STRING, CIMScope::ANY));
    }
    store(objects);
    EXPECT_EQ(CIMDataType::STRING,
              handle.getQualifierType("test", "Q4999").getDataType().getType());
}

TEST_F(StoringThroughADaemon, GoesOnWhereTheDaemonHadToServeOthers) {
    addCars(handle, "test", 500, 100);
    Objects objects;
    CIMPropertyArray properties{property("Number", CIMDataType::UINT32, true)};
    // Each change checks every car.
    for (int i = 0; i < 10; ++i) {
        properties.push_back(property("New" + std::to_string(i), CIMDataType::STRING));
        objects.classes.push_back(makeClass("Car", "Root", properties));
    }
    const auto direct = makeDirectSubject();
    addSchema(*direct);
    addCars(direct->handle(), "test", 500, 100);
    storeObjects(direct->handle(), "test", objects);
    store(objects);
    EXPECT_EQ(dump(direct->handle(), {"test"}), content());
}

TEST_F(StoringThroughADaemon, ToldOfTheNamespaceAtTheFirstObject) {
    try {
        m_live.store("nowhere", Objects{{}, {}, {car(1), car(2)}});
        ADD_FAILURE() << "nothing failed";
    } catch (const ObjectStoringException& e) {
        EXPECT_EQ(0u, e.index());
        EXPECT_EQ(CIMException::INVALID_NAMESPACE, e.getErrNo());
    }
}

TEST(StoringLimits, RefuseMoreObjectsThanACallMayHaveAndWhatIsNone) {
    const LiveDaemon daemon;
    addSchema(*daemon.connect(), "root");
    ClientConnection connection(daemon.socket());
    const blocxx::Timeout timeout = blocxx::Timeout::relative(std::chrono::seconds(60));
    const auto failure = [&](const OpenWBEM::ClientStoring& storing, size_t& index) {
        String message;
        statusOf(
            [&] {
                try {
                    connection.store(storing, timeout);
                } catch (const ObjectStoringException& e) {
                    index = e.index();
                    throw;
                }
            },
            &message);
        return message;
    };
    const String ns = "root";
    size_t index = 0;
    OpenWBEM::ClientStoring storing{ns};
    storing.instances = StringArray(4000, Codec::encodeView(car(1)));
    storing.classes = StringArray(97, Codec::encode(bus("Line")));
    EXPECT_THAT(failure(storing, index), HasSubstr("more than 4096 objects"));
    storing.classes = {Codec::encode(bus("Line"))};
    storing.instances = {Codec::encodeView(car(1)), "noise"};
    EXPECT_THAT(failure(storing, index), HasSubstr("invalid parameter"));
    EXPECT_EQ(2u, index);
    EXPECT_EQ(0u, daemon.connect()->enumInstanceNamesA("root", "Car").size());
    storing.instances.pop_back();
    EXPECT_EQ("", failure(storing, index));
}

TEST(StoringLimits, LetOthersHaveTheirTurn) {
    const LiveDaemon daemon;
    const auto handle = daemon.connect();
    addSchema(*handle, "root");
    ClientConnection connection(daemon.socket());
    const String ns = "root";
    OpenWBEM::ClientStoring storing{ns};
    for (uint32_t number = 0; number < 4000; ++number) {
        storing.instances.push_back(Codec::encodeView(carWithNote(number, 10'000)));
    }
    const size_t stored =
        connection.store(storing, blocxx::Timeout::relative(std::chrono::seconds(60)));
    EXPECT_GT(stored, 0u);
    EXPECT_LT(stored, 4000u);
    EXPECT_EQ(handle->enumInstanceNamesA("root", "Car").size(), stored);
}

}  // namespace
}  // namespace KovTest
