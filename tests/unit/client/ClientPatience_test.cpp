// SPDX-License-Identifier: Apache-2.0
//
// How long a client waits for a daemon that is silent or slow.
#include <capnp/message.h>
#include <capnp/serialize.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "blocxx/Interruption.hpp"
#include "openwbem/client/Patience.hpp"
#include "rpc.capnp.h"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using blocxx::Timeout;
using OpenWBEM::Patience;
using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::HasSubstr;

constexpr seconds LONG{60};

/// A listening socket that nobody serves. Clients wait in its queue.
class Queue {
public:
    explicit Queue(int length) {
        const String path = m_directory.path() + "/socket";
        path.copy(m_address.sun_path, sizeof m_address.sun_path - 1);
        EXPECT_EQ(0, ::bind(m_fd, address(), sizeof m_address));
        EXPECT_EQ(0, ::listen(m_fd, length));
    }
    ~Queue() {
        for (const int fd : m_clients) {
            ::close(fd);
        }
        ::close(m_fd);
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    int accept() const { return ::accept(m_fd, nullptr, nullptr); }
    void fill() {
        int rc = 0;
        while (rc == 0) {
            m_clients.push_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
            rc = ::connect(m_clients.back(), address(), sizeof m_address);
        }
        EXPECT_EQ(EAGAIN, errno);
    }
    ClientCIMOMHandleRef connect(milliseconds limit) const {
        auto handle = ClientCIMOMHandle::createFromURL(String("owbinary.wbem://localhost:") +
                                                       m_address.sun_path);
        handle->getWBEMProtocolHandler()->setTimeout(Timeout::relative(limit));
        return handle;
    }

private:
    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    TemporaryDirectory m_directory;
    sockaddr_un m_address{AF_UNIX, {}};
    int m_fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    std::vector<int> m_clients;
};

/// Sends a large answer to the first call, a byte each 20 milliseconds.
[[noreturn]] void answerSlowly(const Queue& queue) {
    const int fd = queue.accept();
    capnp::MallocMessageBuilder message;
    auto answer = message.initRoot<wire::Answer>();
    answer.setId(1);
    answer.initObject(100'000);
    const auto words = capnp::messageToFlatArray(message);
    for (const char byte : words.asChars()) {
        if (::send(fd, &byte, 1, MSG_NOSIGNAL) != 1) {
            ::_exit(0);
        }
        ::usleep(20'000);
    }
    ::_exit(1);
}

/// Answers each call with a portion that is not the last one.
[[noreturn]] void answerWithoutEnd(const Queue& queue, size_t bytes) {
    const int fd = queue.accept();
    // A client that leaves while it is answered ends this process by SIGPIPE.
    char byte = 0;
    while (::recv(fd, &byte, 1, MSG_PEEK) == 1) {
        capnp::StreamFdMessageReader call(fd);
        capnp::MallocMessageBuilder message;
        auto answer = message.initRoot<wire::Answer>();
        answer.setId(call.getRoot<wire::Call>().getId());
        answer.initPortion().setIsLast(false);
        answer.initObject(bytes);
        capnp::writeMessageToFd(fd, message);
    }
    ::_exit(0);
}

/// Runs `body` in a child, because signal handlers belong to the whole process. Returns its exit
/// status.
int inChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(50);
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

seconds durationOf(const std::function<void()>& action) {
    const auto begin = Patience::Clock::now();
    action();
    return std::chrono::duration_cast<seconds>(Patience::Clock::now() - begin);
}

milliseconds waitOf(Patience& patience) {
    patience.beginWait();
    return patience.left();
}

TEST(ClientPatience, IsWhatTheCallerAllows) {
    Patience patience;
    patience.setLimit(Timeout::relative(LONG));
    EXPECT_GT(waitOf(patience), LONG - seconds(1));
    patience.setLimit(Timeout::relative(milliseconds(0)));
    EXPECT_EQ(waitOf(patience), milliseconds(0));
}

TEST(ClientPatience, HalvesWithEachWaitInVain) {
    Patience patience;
    patience.setLimit(Timeout::relative(LONG));
    for (const milliseconds longest :
         {milliseconds(5000), milliseconds(2500), milliseconds(1250)}) {
        patience.giveUp();
        const milliseconds found = waitOf(patience);
        EXPECT_LE(found, longest);
        EXPECT_GT(found, longest - seconds(1));
    }
    patience.setLimit(Timeout::relative(milliseconds(1)));
    EXPECT_LE(waitOf(patience), milliseconds(1));
}

TEST(ClientPatience, IsShortAfterASignal) {
    EXPECT_EQ(inChild([] {
                  Patience patience;
                  patience.setLimit(Timeout::relative(LONG));
                  blocxx::Interruption::catchSignals();
                  const bool wasLong = waitOf(patience) > seconds(50);
                  ::raise(SIGTERM);
                  const bool isShort = patience.left() <= seconds(10);
                  return wasLong && isShort && waitOf(patience) <= seconds(10) ? 0 : 1;
              }),
              0);
}

TEST(ClientPatience, OfAChangeThatIsNotAnsweredEndsSoonAfterASignal) {
    EXPECT_EQ(inChild([] {
                  const Queue queue(5);
                  const auto handle = queue.connect(LONG);
                  blocxx::Interruption::catchSignals();
                  const pid_t target = ::getpid();
                  if (::fork() == 0) {
                      ::usleep(200'000);
                      ::kill(target, SIGTERM);
                      ::_exit(0);
                  }
                  String message;
                  const auto duration = durationOf([&] {
                      statusOf([&] { handle->deleteQualifierType("kov", "Key"); }, &message);
                  });
                  const bool isKnown =
                      message.find(
                          "no reply came in time. Whether the operation was carried out "
                          "is not known") == String::npos;
                  return isKnown || duration > seconds(20) ? 1 : 0;
              }),
              0);
}

TEST(ClientPatience, DoesNotGrowWithTheBytesThatCome) {
    const Queue queue(5);
    const pid_t daemon = ::fork();
    if (daemon == 0) {
        answerSlowly(queue);
    }
    const auto handle = queue.connect(milliseconds(500));
    String message;
    EXPECT_LT(durationOf([&] { EXPECT_EQ(1, statusOf([&] { handle->ping(); }, &message)); }),
              seconds(10));
    EXPECT_THAT(message, HasSubstr("no reply came in time"));
    ::kill(daemon, SIGKILL);
    ::waitpid(daemon, nullptr, 0);
}

TEST(ClientPatience, EndsWithAnEnumerationThatDoesNot) {
    for (const size_t bytes : {size_t(0), size_t(4) << 20U}) {
        const Queue queue(5);
        const pid_t daemon = ::fork();
        if (daemon == 0) {
            answerWithoutEnd(queue, bytes);
        }
        const auto handle = queue.connect(LONG);
        String message;
        EXPECT_EQ(1, statusOf([&] { handle->enumClassNamesA("root", ""); }, &message));
        EXPECT_THAT(message, HasSubstr("the daemon does not end its answer"));
        ::kill(daemon, SIGKILL);
        ::waitpid(daemon, nullptr, 0);
    }
}

TEST(ClientPatience, EndsInAFullQueue) {
    Queue queue(0);
    queue.fill();
    const auto handle = queue.connect(milliseconds(500));
    String message;
    EXPECT_LT(durationOf([&] { EXPECT_EQ(1, statusOf([&] { handle->ping(); }, &message)); }),
              seconds(10));
    EXPECT_THAT(message, HasSubstr("cannot be reached"));
    EXPECT_THAT(message, HasSubstr("it does not answer"));
}

}  // namespace
}  // namespace KovTest
