// SPDX-License-Identifier: Apache-2.0
//
// Large results and large objects through a connection.
#include <gmock/gmock.h>

#include <fstream>

#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

constexpr uint32_t MANY = 200000;

/// The peak memory of the process in KiB. `process` is an id or "self".
size_t peakMemory(const String& process) {
    std::ifstream status("/proc/" + process + "/status");
    String word;
    while (status >> word) {
        if (word == "VmHWM:") {
            size_t size = 0;
            status >> size;
            return size;
        }
    }
    return 0;
}

/// Stores `count` cars with a note in the repository. Call it before the daemon starts.
void fill(LiveDaemon& daemon, uint32_t count) {
    OpenRepository opened(daemon.repository());
    addSchema(*opened);
    for (uint32_t i = 0; i < count; ++i) {
        CIMInstance instance = car(i);
        instance.setProperty("Note", CIMValue(String(200, 'n')));
        opened->createInstance("test", instance);
    }
    opened.repository().close();
}

TEST(ClientEnumeration, OfManyInstancesBuildsThemWholeOnNeitherSide) {
    LiveDaemon daemon(LiveDaemon::Start::LATER);
    fill(daemon, MANY);
    daemon.start();
    const auto handle = daemon.connect();
    handle->ping();
    const size_t daemonBefore = peakMemory(std::to_string(daemon.pid()));
    const size_t ownBefore = peakMemory("self");
    uint32_t expected = 0;
    auto receiver = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        ASSERT_EQ(CIMValue(expected++), instance.getPropertyValue("Number"));
    });
    handle->enumInstances("test", "Car", receiver, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                          E_EXCLUDE_CLASS_ORIGIN, nullptr);
    EXPECT_EQ(MANY, expected);
    // About 100 MB of messages were sent. The page cache of the daemon is limited to 32 MiB.
    if (MEMORY_COUNTS) {
        EXPECT_LT(peakMemory(std::to_string(daemon.pid())) - daemonBefore, 48u * 1024);
        EXPECT_LT(peakMemory("self") - ownBefore, 16u * 1024);
    }
}

TEST(ClientEnumeration, MayBeLeftByItsReceiver) {
    LiveDaemon daemon(LiveDaemon::Start::LATER);
    fill(daemon, 5000);
    daemon.start();
    const auto handle = daemon.connect();
    // More than a connection may have open, so an enumeration must end when its receiver throws.
    for (int i = 0; i < 600; ++i) {
        auto leaver = makeResultHandler<CIMObjectPath>(
            [](const CIMObjectPath&) { throw std::runtime_error("enough"); });
        EXPECT_THROW(handle->enumInstanceNames("test", "Car", leaver), std::runtime_error);
    }
    EXPECT_EQ(5000u, handle->enumInstanceNamesA("test", "Car").size());
}

TEST(ClientEnumeration, MayGoOnWhileItsReceiverDoesOtherThings) {
    LiveDaemon daemon(LiveDaemon::Start::LATER);
    fill(daemon, 5000);
    daemon.start();
    const auto handle = daemon.connect();
    size_t inner = 0;
    auto receiver = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& path) {
        handle->deleteInstance("test", path);
        if (++inner % 1000 == 0) {
            handle->enumInstanceNamesA("test", "Car");
        }
    });
    handle->enumInstanceNames("test", "Car", receiver);
    EXPECT_EQ(5000u, inner);
    EXPECT_EQ(0u, handle->enumInstanceNamesA("test", "Car").size());
}

TEST(ClientEnumeration, LargeObjectsPass) {
    const LiveDaemon daemon;
    const auto handle = daemon.connect();
    addSchema(*handle, "root");
    CIMInstance large = car(1);
    large.setProperty("Note", CIMValue(String(100U << 20U, 'x')));
    handle->createInstance("root", large);
    EXPECT_EQ(large.getPropertyValue("Note"),
              handle
                  ->getInstance("root", carPath(1), E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                                E_EXCLUDE_CLASS_ORIGIN, nullptr)
                  .getPropertyValue("Note"));
    EXPECT_EQ(1u, handle->enumInstancesA("root", "Car").size());
}

TEST(ClientEnumeration, DeliversWhatInstancesHaveFromTheirClass) {
    const LiveDaemon daemon;
    const auto handle = daemon.connect();
    addSchema(*handle, "root");
    handle->createInstance("root", person("ann", "Student"));
    Array<CIMInstance> found;
    ArrayBuilder<CIMInstance> builder(found);
    handle->enumInstances("root", "Person", builder, E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                          E_INCLUDE_CLASS_ORIGIN, nullptr);
    ASSERT_EQ(1u, found.size());
    const CIMProperty* name = found[0].getProperty("Name");
    ASSERT_NE(nullptr, name);
    EXPECT_NE(nullptr, name->getQualifier("Key"));
    EXPECT_EQ("Person", name->getClassOrigin());
    EXPECT_TRUE(name->isPropagated());
}

}  // namespace
}  // namespace KovTest
