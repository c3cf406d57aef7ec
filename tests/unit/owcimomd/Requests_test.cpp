// SPDX-License-Identifier: Apache-2.0
//
// Requests that are too large, too long or too many are refused with a reason, and their cost is
// bounded.
#include <capnp/serialize.h>
#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "cim.capnp.h"
#include "owcimomd/operations/RequestBudget.hpp"
#include "tests/unit/client/LiveDaemon.hpp"
#include "tests/unit/owcimomd/RawClient.hpp"

namespace KovTest {
namespace {

using OwCimomd::RequestBudget;
using ::testing::HasSubstr;

constexpr size_t MIB = size_t(1) << 20U;

TEST(RequestBudget, GivesAUserAQuarterAndRootWhatItAsksFor) {
    RequestBudget budget(100);
    auto first = budget.take(1, 60);
    EXPECT_TRUE(first);
    EXPECT_FALSE(budget.take(1, 41));
    const auto second = budget.take(1, 40);
    EXPECT_TRUE(second);
    EXPECT_FALSE(budget.take(1, 1));
    first.reset();
    EXPECT_TRUE(budget.take(1, 60)) << "it was given back";
    std::vector<RequestBudget::Share> shares;
    for (const uid_t user : {1, 2, 3, 4}) {
        shares.push_back(budget.take(user, user == 1 ? 60 : 100));
        EXPECT_TRUE(shares.back()) << user;
    }
    EXPECT_FALSE(budget.take(5, 1)) << "four quarters are all";
    const auto roots = budget.take(0, 1000);
    EXPECT_TRUE(roots);
    EXPECT_TRUE(budget.take(0, 1000));
    shares.clear();
    EXPECT_TRUE(budget.take(5, 100));
}

class Requests : public ::testing::Test {
protected:
    Requests() : daemon(LiveDaemon::Start::LATER) {}
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can become other users";
        }
        writeFile(daemon.config(),
                  "owcimomd.allowed_users = games mail\nowcimomd.max_request_size = 1048576\n");
        daemon.start();
        addSchema(*daemon.connect(), "root");
    }
    void grant(const String& user, const String& capability, const String& ns = "root") {
        CIMInstance acl("OpenWBEM_UserACL");
        acl.setProperty("nspace", CIMValue(ns));
        acl.setProperty("username", CIMValue(user));
        acl.setProperty("capability", CIMValue(capability));
        daemon.connect()->createInstance("root/security", acl);
    }
    /// Runs `action` as that user. Returns the status, or 100 when the message lacks `text`.
    template <class Action>
    int statusFor(const char* user, const String& text, Action action) {
        return asUser(getpwnam(user)->pw_uid, [&] {
            const auto handle = daemon.connect();
            String message;
            const int status = statusOf([&] { action(*handle); }, &message);
            EXPECT_THAT(message,
                        text.empty() ? ::testing::Matcher<std::string>(text) : HasSubstr(text));
            return ::testing::Test::HasFailure() ? 100 : status;
        });
    }
    static CIMInstance carWithNote(uint32_t number, size_t size) {
        CIMInstance instance = car(number);
        return instance.setProperty("Note", CIMValue(String(size, 'n')));
    }

    static void enumerateCars(CIMOMHandleIFC& handle, const StringArray& names) {
        auto ignore = makeResultHandler<CIMInstance>([](const CIMInstance&) {});
        handle.enumInstances("root", "Car", ignore, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                             E_EXCLUDE_CLASS_ORIGIN, &names);
    }

    LiveDaemon daemon;
};

TEST_F(Requests, WithMoreOrLongerNamesThanAnyClassHasAreRefused) {
    const auto handle = daemon.connect();
    handle->createInstance("root", car(1));
    StringArray names(4096, "Note");
    const auto enumerate = [&] { enumerateCars(*handle, names); };
    String message;
    EXPECT_EQ(0, statusOf(enumerate, &message)) << message;
    names.emplace_back("Other");
    EXPECT_EQ(4, statusOf(enumerate, &message));
    EXPECT_THAT(message, HasSubstr("the property list has more than 4096 names"));
    names = {String(8193, 'x')};
    EXPECT_EQ(4, statusOf(enumerate, &message));
    EXPECT_THAT(message, HasSubstr("a name in the request is longer than 8192 bytes"));
    EXPECT_EQ(4, statusOf([&] { handle->enumClassNamesA(String(8193, 'n'), ""); }));
    EXPECT_EQ(4, statusOf([&] { CIMOMHandleIFCRef(handle)->getClass("root", String(8193, 'n')); }));
}

TEST_F(Requests, WithListsInTheirObjectsThatNoObjectHasAreRefused) {
    const auto handle = daemon.connect();
    CIMPropertyArray keys;
    for (int i = 0; i < 16385; ++i) {
        keys.push_back(property("K" + std::to_string(i), CIMDataType::STRING, false));
    }
    CIMObjectPath path("Car", "root");
    path.setKeys(keys);
    String message;
    EXPECT_EQ(4, statusOf([&] { handle->deleteInstance("root", path); }, &message));
    EXPECT_THAT(message, HasSubstr("a list in it has more than 16384 elements"));
    CIMInstance instance("Car");
    instance.setProperties(keys);
    EXPECT_EQ(4, statusOf([&] { handle->createInstance("root", instance); }));
    CIMClass cls("Wide");
    EXPECT_EQ(4, statusOf([&] { handle->createClass("root", cls.setProperties(keys)); }));
}

TEST_F(Requests, LargerThanTheLimitAreToldSo) {
    grant("games", "rw");
    EXPECT_EQ(0, statusFor("games", "", [](CIMOMHandleIFC& handle) {
                  handle.createInstance("root", carWithNote(1, MIB - 4096));
              }));
    for (const size_t size : {MIB, 16 * MIB}) {
        EXPECT_EQ(1, statusFor("games", "the request is larger than owcimomd takes from this user",
                               [&](CIMOMHandleIFC& handle) {
                                   handle.createInstance("root", carWithNote(2, size));
                               }));
    }
    daemon.connect()->createInstance("root", carWithNote(3, 16 * MIB));
    EXPECT_EQ(2u, daemon.connect()->enumInstanceNamesA("root", "Car").size());
}

TEST_F(Requests, OfStrangersThatStoreMuchAreToldThatTheyMayNotConnect) {
    const Array<CIMInstance> instances{carWithNote(1, 200'000), carWithNote(2, 200'000)};
    EXPECT_EQ(2, statusFor("nobody", "may not connect", [&](ClientCIMOMHandle& handle) {
                  handle.store("root", {{}, {}, instances});
              }));
}

TEST_F(Requests, LetAHandleGoOnAfterARefusal) {
    grant("games", "rw");
    EXPECT_EQ(0, statusFor("games", "", [](CIMOMHandleIFC& handle) {
                  EXPECT_EQ(
                      1, statusOf([&] { handle.createInstance("root", carWithNote(2, 4 * MIB)); }));
                  handle.createInstance("root", carWithNote(4, 10));
              }));
}

/// The beginning of a message of `bytes` bytes.
String begun(size_t bytes) {
    return words({0, static_cast<uint32_t>(bytes / 8)}) + "half";
}

TEST_F(Requests, OfOneUserWhoFillsItsShareKeepNobodyElseOut) {
    grant("games", "rw");
    grant("mail", "rw");
    int ready[2];
    int done[2];
    ASSERT_EQ(0, ::pipe(ready));
    ASSERT_EQ(0, ::pipe(done));
    const pid_t greedy = ::fork();
    if (greedy == 0) {
        const uid_t uid = getpwnam("games")->pw_uid;
        int bad = ::setgid(uid) + ::setuid(uid);
        RawClient first(daemon.socket());
        RawClient second(daemon.socket());
        first.send(begun(MIB - 64));
        RawClient(daemon.socket()).ping();
        second.send(begun(MIB - 64));
        bad += second.isEnded() ? 0 : 1;
        bad += ::write(ready[1], "r", 1) == 1 ? 0 : 1;
        char byte = 0;
        bad += ::read(done[0], &byte, 1) == 1 ? 0 : 1;
        ::_exit(bad);
    }
    char byte = 0;
    EXPECT_EQ(1, ::read(ready[0], &byte, 1));
    EXPECT_EQ(1, statusFor("games", "more requests are being received than owcimomd has memory for",
                           [](CIMOMHandleIFC& handle) {
                               handle.createInstance("root", carWithNote(1, 100000));
                           }));
    EXPECT_EQ(0, statusFor("games", "", [](CIMOMHandleIFC& handle) {
                  handle.createInstance("root", carWithNote(2, 1000));
              }));
    EXPECT_EQ(0, statusFor("mail", "", [](CIMOMHandleIFC& handle) {
                  handle.createInstance("root", carWithNote(3, 100000));
              }));
    EXPECT_EQ(1, ::write(done[1], "d", 1));
    int status = -1;
    ::waitpid(greedy, &status, 0);
    EXPECT_EQ(0, status);
    for (const int fd : {ready[0], ready[1], done[0], done[1]}) {
        ::close(fd);
    }
}

TEST_F(Requests, OfThoseWithoutTheRightAreRefusedBeforeTheyAreUnpacked) {
    grant("games", "r");
    // The list of properties is too long as well, but the right is checked first.
    const StringArray names(5000, "Note");
    EXPECT_EQ(2, statusFor("mail", "may not read instances",
                           [&](CIMOMHandleIFC& handle) { enumerateCars(handle, names); }));
}

TEST_F(Requests, ThatUnpackToMuchMoreThanTheyAreAreRefused) {
    // Qualifiers without a name or a value take few bytes in a message.
    capnp::MallocMessageBuilder inner;
    auto properties = inner.initRoot<wire::Class>().initProperties(1000);
    for (auto property : properties) {
        property.initQualifiers(1000);
    }
    const String object = toBytes(inner);
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<wire::Call>();
    call.setId(1);
    auto request = call.initCarryOut();
    request.setOperation(wire::Operation::CREATE_CLASS);
    request.setNameSpace("root");
    request.setObject(
        kj::arrayPtr(reinterpret_cast<const kj::byte*>(object.data()), object.size()));
    RawClient client(daemon.socket());
    client.send(toBytes(message));
    EXPECT_THAT(client.failure(), HasSubstr("too much memory when it is unpacked"));
    EXPECT_TRUE(client.ping());
}

/// A call of the operation of that number without its operands.
String bareCall(uint16_t number, bool isEnumeration, const char* ns) {
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<wire::Call>();
    call.setId(1);
    auto request = isEnumeration ? call.initEnumerate() : call.initCarryOut();
    request.setOperation(static_cast<wire::Operation>(number));
    request.setNameSpace(ns);
    return toBytes(message);
}

TEST_F(Requests, OfEveryNumberAndKindAreAnsweredWithoutTheirOperands) {
    constexpr uint16_t UNKNOWN[] = {22, 23, 255, 256, 257, UINT16_MAX};
    for (const char* ns : {"root", "interop", ""}) {
        for (const bool isEnumeration : {false, true}) {
            for (uint16_t number = 0; number < 22; ++number) {
                SCOPED_TRACE(testing::Message() << ns << ' ' << isEnumeration << ' ' << number);
                const OperationTraits& traits = traitsOf(Operation(number));
                const bool enumerates = traits.effect == OperationTraits::Effect::ENUMERATES;
                RawClient client(daemon.socket());
                client.send(bareCall(number, isEnumeration, ns));
                const String failure = client.failure();
                EXPECT_EQ(failure.find("is an enumeration") != String::npos,
                          enumerates && !isEnumeration)
                    << failure;
                EXPECT_EQ(failure.find("is not an enumeration") != String::npos,
                          !enumerates && isEnumeration)
                    << failure;
                EXPECT_TRUE(client.ping());
            }
            for (const uint16_t number : UNKNOWN) {
                RawClient client(daemon.socket());
                client.send(bareCall(number, isEnumeration, ns));
                EXPECT_THAT(client.failure(), HasSubstr("does not know the operation")) << number;
                EXPECT_TRUE(client.ping());
            }
        }
    }
}

TEST_F(Requests, OfEveryNumberAreRefusedToAUserWithoutTheRight) {
    grant("games", "");
    EXPECT_EQ(0, asUser(getpwnam("games")->pw_uid, [&] {
                  for (uint16_t number = 0; number < 22; ++number) {
                      const bool isEnumeration =
                          traitsOf(Operation(number)).effect == OperationTraits::Effect::ENUMERATES;
                      RawClient client(daemon.socket());
                      client.send(bareCall(number, isEnumeration, "root"));
                      EXPECT_THAT(client.failure(), HasSubstr("access denied")) << number;
                  }
                  return HasFailure() ? 1 : 0;
              }));
}

TEST_F(Requests, OfEveryNumberAreAllowedByOneRightAlone) {
    constexpr std::string_view NEEDED = "RRRWWWrrrwwwRRWWrrrrRR";  // by the operation's number
    const struct {
        char right;
        const char* others;
        const char* ns;
        const char* othersNs;
        const char* refusal;
    } rows[] = {
        {'r', "wRW", "r1", "others1", "the user \"games\" may not read instances in the namespace"},
        {'w', "rRW", "w2", "others2",
         "the user \"games\" may not write instances in the namespace"},
        {'R', "rwW", "r3", "others3", "the user \"games\" may not read classes in the namespace"},
        {'W', "rwR", "w4", "others4", "the user \"games\" may not write classes in the namespace"},
    };
    for (const auto& row : rows) {
        grant("games", String(1, row.right), row.ns);
        grant("games", row.others, row.othersNs);
    }
    EXPECT_EQ(0, asUser(getpwnam("games")->pw_uid, [&] {
                  for (uint16_t number = 0; number < 22; ++number) {
                      const bool isEnumeration =
                          traitsOf(Operation(number)).effect == OperationTraits::Effect::ENUMERATES;
                      for (const auto& row : rows) {
                          SCOPED_TRACE(testing::Message() << number << ' ' << row.right);
                          const bool isIt = row.right == NEEDED[number];
                          RawClient client(daemon.socket());
                          client.send(bareCall(number, isEnumeration, row.ns));
                          EXPECT_EQ(!isIt, client.failure().starts_with("access denied"));
                          client.send(bareCall(number, isEnumeration, row.othersNs));
                          const String failure = client.failure();
                          EXPECT_EQ(isIt, failure.starts_with("access denied")) << failure;
                          EXPECT_EQ(isIt, failure.find(row.refusal) != String::npos) << failure;
                      }
                  }
                  return HasFailure() ? 1 : 0;
              }));
    static_assert(NEEDED.size() == 22 && findTraits(22) == nullptr, "all operations are tried");
}

/// Opens enumerations, each on a connection of its own, until one is refused, and counts them.
void openUntilRefused(const LiveDaemon& daemon, const StringArray& names, int& count,
                      String& message) {
    bool isFirst = true;
    auto receiver = makeResultHandler<CIMInstance>([&](const CIMInstance&) {
        if (std::exchange(isFirst, false)) {
            ++count;
            openUntilRefused(daemon, names, count, message);
            throw std::runtime_error("one is enough");
        }
    });
    try {
        CIMOMHandleIFCRef(daemon.connect())
            ->enumInstances("root", "Car", receiver, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                            E_EXCLUDE_CLASS_ORIGIN, &names);
    } catch (const CIMException& e) {
        message = e.getMessage();
    } catch (const std::runtime_error&) {  // NOLINT(bugprone-empty-catch): it is abandoned
    }
}

TEST_F(Requests, OfOpenEnumerationsHaveAShareOfTheMemory) {
    grant("games", "r");
    addCars(*daemon.connect(), "root", 4, size_t(256) << 10U);
    // Too small to be counted while they are received.
    StringArray names(400, "Unknown");
    names.emplace_back("Note");
    names.emplace_back("Number");
    EXPECT_EQ(0, asUser(getpwnam("games")->pw_uid, [&] {
                  String message;
                  for (const int attempt : {1, 2}) {
                      int count = 0;
                      openUntilRefused(daemon, names, count, message);
                      // 1 MiB in all
                      EXPECT_GT(count, 20) << attempt;
                      EXPECT_LT(count, 32) << attempt;
                      EXPECT_THAT(message, HasSubstr("of this user that are under way take too "
                                                     "much memory"));
                  }
                  return ::testing::Test::HasFailure() ? 1 : 0;
              }));
}

TEST_F(Requests, ForMoreOfAnEnumerationNeedTheRightStill) {
    grant("games", "r");
    const auto root = daemon.connect();
    addCars(*root, "root", 2000, 1000);
    CIMObjectPath acl("OpenWBEM_UserACL");
    acl.setKeyValue("nspace", CIMValue("root")).setKeyValue("username", CIMValue("games"));
    EXPECT_EQ(
        0, asUser(getpwnam("games")->pw_uid, [&] {
            size_t seen = 0;
            auto withdraw = makeResultHandler<CIMInstance>([&](const CIMInstance&) {
                if (seen++ == 0) {
                    root->deleteInstance("root/security", acl);
                }
            });
            String message;
            EXPECT_EQ(
                2,
                statusOf(
                    [&] {
                        CIMOMHandleIFCRef(daemon.connect())->enumInstances("root", "Car", withdraw);
                    },
                    &message));
            EXPECT_THAT(message, HasSubstr("may not read instances"));
            EXPECT_LT(0u, seen);
            EXPECT_GT(2000u, seen);
            return ::testing::Test::HasFailure() ? 1 : 0;
        }));
}

TEST_F(Requests, ForMoreAssociatorsNeedTheRightInTheSourcesNamespaceStill) {
    const auto root = daemon.connect();
    CIMInstance space("CIM_Namespace");
    space.setProperty("Name", CIMValue("other"));
    root->createInstance("root", space);
    addSchema(*root, "other");
    root->createInstance("other", person("ann"));
    CIMObjectPath ann = personPath("ann");
    ann.setNameSpace("other");
    for (uint32_t i = 0; i < 1000; ++i) {
        root->createInstance("root", carWithNote(i, 2000));
        CIMObjectPath its = carPath(i);
        root->createInstance("root", owns(ann, its.setNameSpace("root")));
    }
    grant("games", "r");
    grant("games", "r", "other");
    CIMObjectPath acl("OpenWBEM_UserACL");
    acl.setKeyValue("nspace", CIMValue("other")).setKeyValue("username", CIMValue("games"));
    EXPECT_EQ(0, asUser(getpwnam("games")->pw_uid, [&] {
                  size_t seen = 0;
                  auto withdraw = makeResultHandler<CIMInstance>([&](const CIMInstance&) {
                      if (seen++ == 0) {
                          root->deleteInstance("root/security", acl);
                      }
                  });
                  EXPECT_EQ(2, statusOf([&] {
                                CIMOMHandleIFCRef(daemon.connect())
                                    ->associators("root", ann, withdraw, AssociationFilter(),
                                                  E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN,
                                                  nullptr);
                            }));
                  EXPECT_LT(0u, seen);
                  EXPECT_GT(1000u, seen);
                  return ::testing::Test::HasFailure() ? 1 : 0;
              }));
}

}  // namespace
}  // namespace KovTest
