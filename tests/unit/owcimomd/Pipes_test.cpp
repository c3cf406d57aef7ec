// SPDX-License-Identifier: Apache-2.0
//
// Clients that go on calling are served through pipes: who gets them, and what they may do there.
#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>

#include "tests/unit/client/LiveDaemon.hpp"
#include "tests/unit/owcimomd/RawClient.hpp"

namespace KovTest {
namespace {

namespace fs = std::filesystem;

/// So many clients have pipes at once.
constexpr unsigned MAX_PIPED = 32;

/// How many of its descriptors, but for the standard streams, are sockets or pipes.
size_t channels(pid_t pid, std::string_view kind) {
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
        std::error_code gone;
        const bool isStandard =
            entry.path().filename().string() <= "2" && entry.path().filename().string().size() == 1;
        const auto target = fs::read_symlink(entry, gone).string();
        count += !isStandard && target.starts_with(kind) ? 1 : 0;
    }
    return count;
}

class Pipes : public ::testing::Test {
protected:
    void expectServed() { EXPECT_EQ(1u, daemon.connect()->enumClassNamesA("root", "").size()); }
    /// Whether the daemon comes to have so many sockets, the listening one aside, and pipes, within
    /// a while.
    bool comesToHave(size_t sockets, size_t pipes) const {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        bool has = false;
        while (!has && std::chrono::steady_clock::now() < limit) {
            has = channels(daemon.pid(), "socket:") == sockets + 1 &&
                  channels(daemon.pid(), "pipe:") == pipes;
        }
        return has;
    }

    LiveDaemon daemon;
};

TEST_F(Pipes, AreForThoseWhoTakeThemAndGoOn) {
    RawClient client(daemon.socket());
    EXPECT_FALSE(client.getPipes(3));
    EXPECT_TRUE(client.getPipes());
    EXPECT_TRUE(client.isSocketEnded());
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(client.ping());
    }
    EXPECT_TRUE(comesToHave(0, 2));
    RawClient other(daemon.socket());
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(other.ping());
    }
    EXPECT_TRUE(comesToHave(1, 2));
}

TEST(PipesOfOthers, AreGivenToNobodyWhoMayNotEndTheDaemon) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    LiveDaemon daemon(LiveDaemon::Start::LATER);
    writeFile(daemon.config(), "owcimomd.allowed_users = games\n");
    daemon.start();
    enum { GOT_NONE, GOT_PIPES, NOT_SERVED };
    const auto get = [&] {
        RawClient client(daemon.socket());
        const bool got = client.getPipes();
        return !client.ping() ? NOT_SERVED : got ? GOT_PIPES : GOT_NONE;
    };
    EXPECT_EQ(GOT_PIPES, asUser(0, get));
    for (const char* user : {"games", "nobody"}) {
        const passwd* entry = getpwnam(user);
        ASSERT_NE(nullptr, entry);
        EXPECT_EQ(GOT_NONE, asUser(entry->pw_uid, get)) << user;
    }
}

TEST_F(Pipes, AreLetGoOfWhenEitherEndIsClosed) {
    {
        RawClient client(daemon.socket());
        ASSERT_TRUE(client.getPipes());
        client.closeCalls();
        EXPECT_TRUE(client.isEnded());
        EXPECT_TRUE(comesToHave(0, 0));
    }
    RawClient client(daemon.socket());
    ASSERT_TRUE(client.getPipes());
    client.closeAnswers();
    client.send(pingCall());
    EXPECT_TRUE(comesToHave(0, 0));
    expectServed();
}

TEST_F(Pipes, AreForSoManyAtOnceAndTheOthersGoOnWithout) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (unsigned i = 0; i < MAX_PIPED; ++i) {
        clients.push_back(std::make_unique<RawClient>(daemon.socket()));
        EXPECT_TRUE(clients.back()->getPipes()) << i;
    }
    RawClient late(daemon.socket());
    EXPECT_FALSE(late.getPipes());
    EXPECT_TRUE(late.ping());
    clients.pop_back();
    EXPECT_TRUE(late.getPipes(1000000));
    for (const auto& client : clients) {
        EXPECT_TRUE(client->ping());
    }
}

TEST_F(Pipes, WithGarbageInThemAreEnded) {
    const String rows[] = {
        String(4096, '\xff'),                      // more segments than there can be
        words({0, 0x7fffffff}) + String(64, 'x'),  // a message of 16 GiB
        words({0, 2, 0xfffffffc, 0xffff, 0, 0}),   // a pointer out of the message
    };
    for (const String& bytes : rows) {
        RawClient client(daemon.socket());
        ASSERT_TRUE(client.getPipes());
        client.send(bytes);
        EXPECT_TRUE(client.isEnded()) << bytes.substr(0, 8);
        expectServed();
    }
    EXPECT_TRUE(comesToHave(0, 0));
}

TEST_F(Pipes, WithHalfAMessageInThemWaitAlone) {
    RawClient client(daemon.socket());
    ASSERT_TRUE(client.getPipes());
    const String call = pingCall(7);
    client.send(call.substr(0, 20));
    expectServed();
    client.send(call.substr(20));
    client.closeCalls();
    EXPECT_TRUE(client.isEnded());
    expectServed();
}

TEST_F(Pipes, ThatNobodyReadsAreNotFilledFurther) {
    RawClient deaf(daemon.socket());
    ASSERT_TRUE(deaf.getPipes());
    const String call = pingCall();
    size_t sent = 0;
    for (int idle = 0; idle < 500 && sent < 64U << 20U;) {
        if (deaf.send(call, false) > 0) {
            sent += call.size();
            idle = 0;
        } else {
            ASSERT_EQ(EAGAIN, errno) << "it is not sent away";
            ++idle;
            ::usleep(1000);
        }
    }
    EXPECT_GT(sent, call.size());
    EXPECT_LT(sent, 1U << 20U) << "what two pipes hold";
    expectServed();
}

/// The handle that programs use.
class PipedHandle : public Pipes {
protected:
    PipedHandle() : own(channels(::getpid(), "pipe:")), handle(daemon.connect()) {
        for (int i = 0; i < 20; ++i) {
            handle->ping();
        }
    }
    bool isPiped() const { return channels(::getpid(), "pipe:") == own + 2; }

    size_t own;
    ClientCIMOMHandleRef handle;
};

TEST_F(PipedHandle, CarriesLargeObjectsBothWays) {
    ASSERT_TRUE(isPiped());
    addSchema(*handle, "root");
    const String note(3U << 20U, 'n');
    addCars(*handle, "root", 3, note.size());
    EXPECT_EQ(CIMValue(note),
              CIMOMHandleIFCRef(handle)->getInstance("root", carPath(1)).getPropertyValue("Note"));
    EXPECT_EQ(3u, handle->enumInstancesA("root", "Car").size());
    EXPECT_TRUE(isPiped());
}

TEST_F(PipedHandle, MakesOtherCallsWhileAPortionIsOnItsWay) {
    addSchema(*handle, "root");
    for (uint32_t i = 0; i < 600; ++i) {
        handle->createInstance("root", car(i));
    }
    // On the socket, too, where the pipes may come with any answer that is awaited.
    for (const auto& used : {handle, daemon.connect()}) {
        size_t seen = 0;
        auto reading = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
            const CIMObjectPath path("root", instance);
            EXPECT_EQ(instance, CIMOMHandleIFCRef(used)->getInstance("root", path));
            ++seen;
        });
        CIMOMHandleIFCRef(used)->enumInstances("root", "Car", reading);
        EXPECT_EQ(600u, seen);
    }
}

TEST_F(PipedHandle, BeginsAnewWhenTheDaemonHasGoneAndNoSignalIsRaised) {
    ASSERT_TRUE(isPiped());
    daemon.end(SIGKILL);
    EXPECT_EQ(1, statusOf([&] { handle->ping(); }));
    daemon.start();
    EXPECT_EQ(0, statusOf([&] { handle->ping(); }));
    sigset_t pending;
    ASSERT_EQ(0, sigpending(&pending));
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(SIG_DFL, action.sa_handler);
}

TEST_F(PipedHandle, LeavesTheCallersOwnSignalPending) {
    ASSERT_TRUE(isPiped());
    daemon.end(SIGKILL);
    sigset_t signal;
    sigset_t blocked;
    sigemptyset(&signal);
    sigaddset(&signal, SIGPIPE);
    sigprocmask(SIG_BLOCK, &signal, &blocked);
    ::raise(SIGPIPE);
    EXPECT_EQ(1, statusOf([&] { handle->ping(); }));
    const timespec now{};
    EXPECT_EQ(SIGPIPE, sigtimedwait(&signal, nullptr, &now));
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
}

TEST_F(Pipes, ThatTheClientHasNoDescriptorForCostItNoCall) {
    auto handle = daemon.connect();
    handle->ping();
    rlimit limit{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    // Room for one of the two, and for none.
    for (const rlim_t room : {1U, 0U}) {
        rlimit tight = limit;
        tight.rlim_cur = static_cast<rlim_t>(::dup(0));
        ::close(static_cast<int>(tight.rlim_cur));
        tight.rlim_cur += room;
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &tight));
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(0, statusOf([&] { handle->ping(); })) << room << " " << i;
        }
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    }
    handle = ClientCIMOMHandleRef();
    EXPECT_TRUE(comesToHave(0, 0));
}

}  // namespace
}  // namespace KovTest
