// SPDX-License-Identifier: Apache-2.0
//
// The errors that callers get when an operation fails, and when the daemon does not run or ends.
#include <capnp/message.h>
#include <capnp/serialize.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "rpc.capnp.h"
#include "tests/unit/client/LiveDaemon.hpp"
#include "tests/unit/repository/Refusals.hpp"

namespace KovTest {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

TEST(ClientErrors, AreWordForWordThoseOfADirectHandle) {
    const auto direct = makeDirectSubject();
    const auto live = makeSubject();
    addSchema(*direct);
    addSchema(*live);
    const Array<Refusal> expected = refusals(*direct);
    const Array<Refusal> actual = refusals(*live);
    ASSERT_EQ(expected.size(), actual.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        String expectedText = "none";
        String actualText = "none";
        EXPECT_EQ(statusOf(expected[i].action, &expectedText),
                  statusOf(actual[i].action, &actualText))
            << expected[i].sentence;
        EXPECT_EQ(expectedText, actualText) << expected[i].sentence;
    }
}

TEST(ClientErrors, NameTheSocketAndTheRemedyWhenNobodyIsThere) {
    const LiveDaemon daemon(LiveDaemon::Start::LATER);
    const auto handle = daemon.connect();
    String message;
    EXPECT_EQ(1, statusOf([&] { handle->enumClassNamesA("root", ""); }, &message));
    EXPECT_THAT(message, AllOf(HasSubstr(daemon.socket()), HasSubstr("No such file or directory"),
                               HasSubstr("tarvo-owcimomd_init start")));
}

TEST(ClientErrors, TellOfAStaleSocket) {
    LiveDaemon daemon;
    daemon.end(SIGKILL);
    String message;
    EXPECT_EQ(1, statusOf([&] { daemon.connect()->ping(); }, &message));
    EXPECT_THAT(message, HasSubstr("Connection refused"));
}

TEST(ClientErrors, OtherUrlsAreRefused) {
    for (const char* url : {"", "http://localhost:5988", "owbinary.wbem://elsewhere:owipc",
                            "owbinary.wbem://localhost:relative"}) {
        EXPECT_EQ(4, statusOf([&] { ClientCIMOMHandle::createFromURL(url); })) << url;
    }
}

TEST(ClientErrors, AHandleComesBackWithItsDaemon) {
    LiveDaemon daemon;
    const auto handle = daemon.connect();
    handle->enumClassNamesA("root", "");
    daemon.end(SIGTERM);
    EXPECT_EQ(1, statusOf([&] { handle->enumClassNamesA("root", ""); }));
    daemon.start();
    EXPECT_EQ(1u, handle->enumClassNamesA("root", "").size());
}

TEST(ClientErrors, ReleasingAHandleWhoseDaemonHasGoneIsNoFailure) {
    LiveDaemon daemon;
    auto used = daemon.connect();
    used->enumClassNamesA("root", "");
    daemon.end(SIGKILL);
    ::testing::internal::CaptureStderr();
    used = ClientCIMOMHandleRef();
    EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
}

TEST(ClientErrors, SignalDispositionsStayTheCallers) {
    LiveDaemon daemon;
    daemon.connect()->ping();
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(SIG_DFL, action.sa_handler);
}

/// A listening socket whose connections get no answer.
class SilentSocket {
public:
    explicit SilentSocket(const String& path) : m_fd(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(0, ::bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
        EXPECT_EQ(0, ::listen(m_fd, 5));
    }
    ~SilentSocket() { ::close(m_fd); }
    int accept() const { return ::accept(m_fd, nullptr, nullptr); }
    /// Whether somebody has connected who is not accepted yet.
    bool hasClient() const {
        pollfd waiting{m_fd, POLLIN, 0};
        return ::poll(&waiting, 1, 0) > 0;
    }
    SilentSocket(const SilentSocket&) = delete;
    SilentSocket& operator=(const SilentSocket&) = delete;

private:
    int m_fd;
};

TEST(ClientErrors, AReplyThatDoesNotComeInTimeIsAnError) {
    const TemporaryDirectory directory;
    const SilentSocket silent(directory.path() + "/socket");
    const auto handle = ClientCIMOMHandle::createFromURL(
        "owbinary.wbem://localhost:" + directory.path() + "/socket");
    handle->getWBEMProtocolHandler()->setTimeout(
        blocxx::Timeout::relative(std::chrono::milliseconds(50)));
    String message;
    EXPECT_EQ(1, statusOf([&] { handle->ping(); }, &message));
    EXPECT_THAT(message, HasSubstr("no reply came in time"));
}

/// A daemon that answers a ping, takes the beginning of the next call and ends the connection.
class QuittingDaemon {
public:
    explicit QuittingDaemon(const String& path) : m_socket(path) {
        m_pid = ::fork();
        if (m_pid == 0) {
            const int fd = m_socket.accept();
            capnp::StreamFdMessageReader ping(fd);
            capnp::MallocMessageBuilder message;
            message.initRoot<wire::Answer>().setId(ping.getRoot<wire::Call>().getId());
            capnp::writeMessageToFd(fd, message);
            char beginning[4096];
            ::_exit(::read(fd, beginning, sizeof beginning) > 0 ? 0 : 1);
        }
    }
    ~QuittingDaemon() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    QuittingDaemon(const QuittingDaemon&) = delete;
    QuittingDaemon& operator=(const QuittingDaemon&) = delete;
    bool hasAnotherClient() const { return m_socket.hasClient(); }

private:
    SilentSocket m_socket;
    pid_t m_pid = -1;
};

TEST(ClientErrors, ACallBrokenHalfWayIsNotSentAgain) {
    const TemporaryDirectory directory;
    const QuittingDaemon daemon(directory.path() + "/socket");
    const auto handle = ClientCIMOMHandle::createFromURL(
        "owbinary.wbem://localhost:" + directory.path() + "/socket");
    handle->getWBEMProtocolHandler()->setTimeout(
        blocxx::Timeout::relative(std::chrono::seconds(10)));
    handle->ping();
    CIMInstance large = person("ann");
    large.setProperty("Note", CIMValue(String(size_t(16) << 20U, 'n')));
    String message;
    EXPECT_EQ(1, statusOf([&] { handle->createInstance("root", large); }, &message));
    EXPECT_THAT(message, HasSubstr("failed: the daemon has closed it. Whether the operation was "
                                   "carried out is not known"));
    EXPECT_FALSE(daemon.hasAnotherClient());
}

/// A daemon that sends a client answers that it has not asked for, without end.
class BabblingDaemon {
public:
    explicit BabblingDaemon(const String& path) : m_socket(path) {
        capnp::MallocMessageBuilder message;
        message.initRoot<wire::Answer>().setId(7);
        const auto words = capnp::messageToFlatArray(message);
        m_pid = ::fork();
        if (m_pid == 0) {
            const int fd = m_socket.accept();
            const auto bytes = words.asChars();
            while (::send(fd, bytes.begin(), bytes.size(), MSG_NOSIGNAL) > 0) {
            }
            ::_exit(0);
        }
    }
    ~BabblingDaemon() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    BabblingDaemon(const BabblingDaemon&) = delete;
    BabblingDaemon& operator=(const BabblingDaemon&) = delete;

private:
    SilentSocket m_socket;
    pid_t m_pid = -1;
};

/// A daemon that answers one ping, and then neither reads nor says anything, nor closes the
/// connection.
class DeafDaemon {
public:
    explicit DeafDaemon(const String& path) {
        int ready[2] = {};
        EXPECT_EQ(0, ::pipe(ready));
        m_pid = ::fork();
        if (m_pid == 0) {
            serve(path, ready[1]);
            ::_exit(0);
        }
        char byte = 0;
        EXPECT_EQ(1, ::read(ready[0], &byte, 1));
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~DeafDaemon() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    DeafDaemon(const DeafDaemon&) = delete;
    DeafDaemon& operator=(const DeafDaemon&) = delete;

private:
    static void serve(const String& path, int ready) {
        auto listening = std::make_unique<SilentSocket>(path);
        ::write(ready, "r", 1);
        const int fd = listening->accept();
        listening.reset();
        char call = 0;
        ::read(fd, &call, 1);
        ::shutdown(fd, SHUT_RD);
        capnp::MallocMessageBuilder message;
        message.initRoot<wire::Answer>().setId(1);
        const auto words = capnp::messageToFlatArray(message);
        const auto bytes = words.asChars();
        ::send(fd, bytes.begin(), bytes.size(), MSG_NOSIGNAL);
        ::pause();
    }

    pid_t m_pid = -1;
};

TEST(ClientErrors, ADaemonThatTakesNoMoreCallsIsNotListenedToForEver) {
    const TemporaryDirectory directory;
    const DeafDaemon daemon(directory.path() + "/socket");
    const auto handle = ClientCIMOMHandle::createFromURL(
        "owbinary.wbem://localhost:" + directory.path() + "/socket");
    handle->ping();
    String message;
    EXPECT_EQ(1, statusOf([&] { handle->ping(); }, &message));
    EXPECT_THAT(message, HasSubstr("owcimomd cannot be reached"));
}

TEST(ClientErrors, AnswersThatNobodyAskedForAreNotKept) {
    const TemporaryDirectory directory;
    const BabblingDaemon daemon(directory.path() + "/socket");
    const auto handle = ClientCIMOMHandle::createFromURL(
        "owbinary.wbem://localhost:" + directory.path() + "/socket");
    String message;
    EXPECT_EQ(1, statusOf([&] { handle->ping(); }, &message));
    EXPECT_THAT(message, HasSubstr("the daemon has answered what nobody asked"));
}

TEST(ClientErrors, AnEnumerationDoesNotGoOnOverWhatABrokenCallHasLeft) {
    LiveDaemon daemon;
    const auto handle = daemon.connect();
    addSchema(*handle, "root");
    addCars(*handle, "root", 1000, 1000);
    handle->getWBEMProtocolHandler()->setTimeout(
        blocxx::Timeout::relative(std::chrono::milliseconds(500)));
    size_t seen = 0;
    auto breaking = makeResultHandler<CIMInstance>([&](const CIMInstance&) {
        if (seen++ == 0) {
            ::kill(daemon.pid(), SIGSTOP);
            EXPECT_EQ(1, statusOf([&] { handle->ping(); }));
            ::kill(daemon.pid(), SIGCONT);
        }
    });
    String message;
    EXPECT_EQ(1,
              statusOf([&] { CIMOMHandleIFCRef(handle)->enumInstances("root", "Car", breaking); },
                       &message));
    EXPECT_THAT(message, HasSubstr("an earlier call has broken it"));
    EXPECT_LT(seen, 1000u);
    EXPECT_EQ(0, statusOf([&] { handle->ping(); }));
}

}  // namespace
}  // namespace KovTest
