// SPDX-License-Identifier: Apache-2.0
//
// Many clients, and clients that misbehave: whatever one does, the others are served.
#include <capnp/serialize.h>
#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>

#include "tests/unit/client/LiveDaemon.hpp"
#include "tests/unit/owcimomd/RawClient.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

constexpr int MANY_CLIENTS = 100;

size_t residentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    String word;
    while (status >> word) {
        if (word == "VmRSS:") {
            size_t size = 0;
            status >> size;
            return size;
        }
    }
    return 0;
}

class Clients : public ::testing::Test {
protected:
    void expectServed() { EXPECT_EQ(1u, daemon.connect()->enumClassNamesA("root", "").size()); }

    LiveDaemon daemon;
};

TEST_F(Clients, ThatSendGarbageAreSentAway) {
    const String rows[] = {
        String(4096, '\xff'),                      // too many segments
        words({0, 0x7fffffff}) + String(64, 'x'),  // a message of 16 GiB
        words({0, 1, 0, 0}) + String(64, '\xee'),  // an empty message, then nonsense
        words({0, 2, 0xfffffffc, 0xffff, 0, 0}),   // a pointer out of the message
        "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n",
    };
    for (const String& bytes : rows) {
        RawClient client(daemon.socket());
        client.send(bytes);
        EXPECT_TRUE(client.isEnded()) << bytes.substr(0, 8);
        expectServed();
    }
}

TEST_F(Clients, ThatSendRandomBytesHarmNobody) {
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same bytes each time
    for (int i = 0; i < 300; ++i) {
        String bytes = words({0, 8});
        for (int j = 0; j < 64; ++j) {
            bytes += static_cast<char>(random() % (j % 3 == 0 ? 256 : 4));
        }
        RawClient client(daemon.socket());
        client.send(bytes);
    }
    expectServed();
}

TEST_F(Clients, ThatSendHalfAMessageWaitAloneAndCostNothing) {
    const size_t before = residentKiB(daemon.pid());
    std::vector<std::unique_ptr<RawClient>> halves;
    for (int i = 0; i < 50; ++i) {
        halves.push_back(std::make_unique<RawClient>(daemon.socket()));
        // Announces 256 MiB and sends a few bytes of it.
        halves.back()->send(words({0, 32U << 20U}) + "half");
    }
    expectServed();
    EXPECT_TRUE(!MEMORY_COUNTS || residentKiB(daemon.pid()) < before + 32 * 1024)
        << "memory is taken as it is filled";
    halves.clear();
    expectServed();
}

/// A call with a long argument, which is repeated in the message of its failure.
String longCall() {
    capnp::MallocMessageBuilder message;
    auto request = message.initRoot<wire::Call>().initCarryOut();
    request.setOperation(wire::Operation::GET_CLASS);
    request.setNameSpace("root");
    request.setName(String(4000, 'x').c_str());
    return toBytes(message);
}

TEST_F(Clients, ThatDoNotTakeTheirAnswersAreNotReadFrom) {
    const String call = longCall();
    const size_t before = residentKiB(daemon.pid());
    RawClient deaf(daemon.socket());
    size_t sent = 0;
    // Sends until the daemon has not read for half a second.
    for (int idle = 0; idle < 500 && sent < 256U << 20U;) {
        const ssize_t count = deaf.send(call, false);
        ASSERT_TRUE(count > 0 || errno == EAGAIN) << "it is not sent away either";
        if (count > 0) {
            sent += static_cast<size_t>(count);
            idle = 0;
        } else {
            ++idle;
            ::usleep(1000);
        }
    }
    EXPECT_GT(sent, call.size());
    EXPECT_LT(sent, 4U << 20U) << "the socket's own buffers";
    EXPECT_TRUE(!MEMORY_COUNTS || residentKiB(daemon.pid()) < before + 4 * 1024);
    expectServed();
}

TEST_F(Clients, AreServedAHundredAtOnceWhileOneHangs) {
    {
        const auto handle = daemon.connect();
        addSchema(*handle, "root");
        addCars(*handle, "root", 3000, 1000);
    }
    // This client begins an enumeration of some megabytes and is stopped in the middle.
    const pid_t hanging = ::fork();
    if (hanging == 0) {
        auto stop = makeResultHandler<CIMInstance>([](const CIMInstance&) { ::raise(SIGSTOP); });
        CIMOMHandleIFCRef(daemon.connect())->enumInstances("root", "Car", stop);
        ::_exit(0);
    }
    ASSERT_EQ(hanging, ::waitpid(hanging, nullptr, WUNTRACED));
    std::vector<pid_t> clients;
    for (int i = 0; i < MANY_CLIENTS; ++i) {
        const pid_t client = ::fork();
        if (client == 0) {
            const auto handle = daemon.connect();
            const int status = statusOf([&] {
                for (uint32_t n = 0; n < 20; ++n) {
                    handle->createInstance("root",
                                           car(100000 + static_cast<uint32_t>(i) * 100 + n));
                }
                if (handle->enumInstanceNamesA("root", "Car").size() < 3020) {
                    OPENWBEM_THROW_CIM(NOT_FOUND, "too few");
                }
            });
            ::_exit(status);
        }
        clients.push_back(client);
    }
    for (const pid_t client : clients) {
        int status = -1;
        ::waitpid(client, &status, 0);
        EXPECT_EQ(0, status);
    }
    EXPECT_EQ(3000u + MANY_CLIENTS * 20,
              daemon.connect()->enumInstanceNamesA("root", "Car").size());
    ::kill(hanging, SIGKILL);
    ::waitpid(hanging, nullptr, 0);
    EXPECT_EQ(0, statusOf([&] { daemon.connect()->ping(); }));
}

/// Child processes. The destructor kills them.
class Children {
public:
    ~Children() {
        for (const pid_t child : m_pids) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
    }
    /// Starts a child that repeats `work` until a CIMException ends it.
    void startRepeating(const std::function<void()>& work) {
        const pid_t child = ::fork();
        while (child == 0) {
            if (statusOf(work) != 0) {
                ::_exit(1);
            }
        }
        m_pids.push_back(child);
    }
    bool areRunning() const {
        return std::none_of(m_pids.begin(), m_pids.end(),
                            [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) == pid; });
    }

private:
    std::vector<pid_t> m_pids;
};

TEST_F(Clients, ThatCallWithoutAPauseLeaveOthersTheirTurn) {
    Children children;
    // One waits for each answer, the other has always sent its next calls.
    children.startRepeating([handle = daemon.connect()] { handle->ping(); });
    auto flooding = std::make_shared<RawClient>(daemon.socket());
    children.startRepeating([flooding, call = pingCall()] {
        for (int i = 0; i < 100; ++i) {
            flooding->send(call, false);
        }
        flooding->drain();
    });
    const auto handle = daemon.connect();
    for (int i = 0; i < 500; ++i) {
        handle->ping();
    }
    EXPECT_TRUE(children.areRunning());
}

/// A daemon with few descriptors; the users daemon and games may connect.
class FewDescriptors : public ::testing::Test {
protected:
    FewDescriptors() : daemon(LiveDaemon::Start::LATER) {}
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can become other users";
        }
        daemon.limitDescriptors(256);
        writeFile(daemon.config(), "owcimomd.allowed_users = daemon games\n");
        daemon.start();
    }
    void TearDown() override {
        for (const pid_t holder : holders) {
            ::kill(holder, SIGKILL);
            ::waitpid(holder, nullptr, 0);
        }
        holders.clear();
    }
    /// Starts a child that makes `count` connections as that user and keeps them.
    void hold(uid_t uid, int count) {
        int ready[2];
        ASSERT_EQ(0, ::pipe(ready));
        holders.push_back(::fork());
        if (holders.back() == 0) {
            std::vector<std::unique_ptr<RawClient>> clients;
            for (int i = ::setgid(uid) + ::setuid(uid); i < count; ++i) {
                clients.push_back(std::make_unique<RawClient>(daemon.socket()));
            }
            const ssize_t told = ::write(ready[1], "r", 1);
            ::pause();
            ::_exit(static_cast<int>(told));
        }
        ::close(ready[1]);
        char byte = 0;
        EXPECT_EQ(1, ::read(ready[0], &byte, 1));
        ::close(ready[0]);
    }
    int pingAs(uid_t uid) {
        return asUser(uid, [&] { return statusOf([&] { daemon.connect()->ping(); }); });
    }
    size_t refusalsInLog() const {
        const String log = daemon.log();
        size_t told = 0;
        for (size_t at = log.find("is sent away"); at != String::npos; ++told) {
            at = log.find("is sent away", at + 1);
        }
        return told;
    }

    LiveDaemon daemon;
    std::vector<pid_t> holders;
};

TEST_F(FewDescriptors, AreNotTakenByOneUserAndRefusalsDoNotFillTheLog) {
    const uid_t one = getpwnam("daemon")->pw_uid;
    const uid_t another = getpwnam("games")->pw_uid;
    hold(one, 200);  // gets 128
    EXPECT_EQ(1, pingAs(one)) << "one of its own must go first";
    EXPECT_EQ(0, pingAs(another));
    hold(getpwnam("nobody")->pw_uid, 100);  // gets the rest, except root's
    EXPECT_EQ(1, pingAs(another));
    EXPECT_EQ(0, pingAs(0));
    EXPECT_EQ(1u, daemon.connect()->enumClassNamesA("root", "").size());
    EXPECT_EQ(1u, refusalsInLog());
    TearDown();
    // The daemon may accept a new client before it notices that two hundred old ones have ended.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int status = 1;
    while (status != 0 && std::chrono::steady_clock::now() < limit) {
        status = pingAs(one);
    }
    EXPECT_EQ(0, status);
}

/// Has `count` enumerations under way on one connection, then runs `action`.
void whileEnumerating(CIMOMHandleIFC& handle, size_t count, const std::function<void()>& action) {
    if (count == 0) {
        return action();
    }
    bool isFirst = true;
    auto next = makeResultHandler<CIMInstance>([&](const CIMInstance&) {
        if (std::exchange(isFirst, false)) {
            whileEnumerating(handle, count - 1, action);
            throw std::runtime_error("one is enough");
        }
    });
    try {
        handle.enumInstances("root", "Car", next);
    } catch (const std::runtime_error&) {  // NOLINT(bugprone-empty-catch): it is abandoned
    }
}

TEST_F(Clients, HaveAtMost256EnumerationsUnderWay) {
    const auto handle = daemon.connect();
    addSchema(*handle, "root");
    // Each portion is one car, and two are on their way to the client.
    addCars(*handle, "root", 4, size_t(256) << 10U);
    const auto oneMore = [&](String* message) {
        return statusOf([&] { whileEnumerating(*handle, 1, [] {}); }, message);
    };
    String message;
    whileEnumerating(*handle, 255, [&] {
        EXPECT_EQ(0, oneMore(&message)) << message;
        whileEnumerating(*handle, 1, [&] {
            EXPECT_EQ(1, oneMore(&message));
            EXPECT_THAT(message, HasSubstr("too many enumerations are under way at once"));
            EXPECT_EQ(0, statusOf([&] { daemon.connect()->enumClassNamesA("root", ""); }))
                << "of another connection";
        });
        EXPECT_EQ(0, oneMore(&message)) << message;
    });
}

TEST_F(Clients, ThatBreakOffAreNotReportedAsErrors) {
    {
        const auto handle = daemon.connect();
        addSchema(*handle, "root");
        addCars(*handle, "root", 100, 100'000);
    }
    const pid_t enumerating = ::fork();
    if (enumerating == 0) {
        auto die = makeResultHandler<CIMInstance>([](const CIMInstance&) { ::raise(SIGKILL); });
        CIMOMHandleIFCRef(daemon.connect())->enumInstances("root", "Car", die);
        ::_exit(0);
    }
    ::waitpid(enumerating, nullptr, 0);
    const String call = pingCall(1);
    for (size_t length = 0; length < call.size(); ++length) {
        RawClient(daemon.socket()).send(call.substr(0, length));
    }
    // The answer meets a socket that has been closed.
    for (int i = 0; i < 20; ++i) {
        RawClient(daemon.socket()).send(call);
    }
    for (int i = 0; i < 20; ++i) {
        daemon.connect()->ping();
    }
    daemon.end(SIGTERM);
    StringArray lines = blocxx::tokenize(daemon.log(), "\n");
    std::erase_if(lines,
                  [](const String& line) { return line.starts_with("owcimomd: audit: done "); });
    EXPECT_THAT(lines, ::testing::ElementsAre("owcimomd: ready", "owcimomd: ended"));
}

TEST_F(Clients, ThatDieInTheMiddleTakeTheirEnumerationsWithThem) {
    {
        const auto handle = daemon.connect();
        addSchema(*handle, "root");
        for (uint32_t i = 0; i < 2000; ++i) {
            handle->createInstance("root", car(i));
        }
    }
    const size_t before = residentKiB(daemon.pid());
    for (int i = 0; i < 100; ++i) {
        const pid_t client = ::fork();
        if (client == 0) {
            auto die = makeResultHandler<CIMInstance>([](const CIMInstance&) { ::raise(SIGKILL); });
            CIMOMHandleIFCRef(daemon.connect())->enumInstances("root", "Car", die);
            ::_exit(0);
        }
        ::waitpid(client, nullptr, 0);
    }
    EXPECT_EQ(2000u, daemon.connect()->enumInstanceNamesA("root", "Car").size());
    EXPECT_TRUE(!MEMORY_COUNTS || residentKiB(daemon.pid()) < before + 16 * 1024);
}

}  // namespace
}  // namespace KovTest
