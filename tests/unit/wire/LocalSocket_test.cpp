// SPDX-License-Identifier: Apache-2.0
//
// Descriptors that the peer of a socket passes are not accepted, and nobody waits for their close.
// The one that is passed here is a TCP socket whose last close takes a minute.
#include "openwbem/wire/LocalSocket.hpp"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

namespace KovTest {
namespace {

using OpenWBEM::LocalSocket;
using Guard = LocalSocket::Guard;
using Clock = std::chrono::steady_clock;

constexpr int LINGER_SECONDS = 60;
/// Anything shorter counts as not waiting, even on a busy machine.
constexpr std::chrono::seconds SOON{20};

/// A TCP connection of this process to itself, with data in flight that nobody reads.
class LingeringSocket {
public:
    LingeringSocket() {
        const int listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(0, ::bind(listening, reinterpret_cast<sockaddr*>(&address), size));
        EXPECT_EQ(0, ::listen(listening, 1));
        EXPECT_EQ(0, ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size));
        m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(0, ::connect(m_fd, reinterpret_cast<sockaddr*>(&address), size));
        m_peer = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        ::close(listening);
        const std::string data(65536, 'x');
        while (::send(m_fd, data.data(), data.size(), MSG_DONTWAIT) > 0) {
        }
        const linger lingering{1, LINGER_SECONDS};
        EXPECT_EQ(0, ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &lingering, sizeof lingering));
    }
    ~LingeringSocket() {
        const linger none{0, 0};
        ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &none, sizeof none);
        ::close(m_fd);
        ::close(m_peer);
    }
    LingeringSocket(const LingeringSocket&) = delete;
    LingeringSocket& operator=(const LingeringSocket&) = delete;

    /// Sends `bytes` and the descriptor of the connection. False, with errno, if that is refused.
    bool sendTo(int socket, std::string bytes, int flags = 0) const {
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
        iovec data{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &m_fd, sizeof m_fd);
        return ::sendmsg(socket, &message, MSG_NOSIGNAL | flags) ==
               static_cast<ssize_t>(bytes.size());
    }
    /// Closes this process's own descriptor, so that the one that was passed is the last.
    void letGo() { ::close(std::exchange(m_fd, -1)); }

private:
    int m_fd;
    int m_peer;
};

/// A connection of which one end is a LocalSocket and the other a hostile peer's.
class Connection {
public:
    explicit Connection(Guard guard) {
        int ends[2];
        EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
        m_stranger = ends[1];
        m_guarded = std::make_unique<LocalSocket>(ends[0], guard);
    }
    ~Connection() { ::close(m_stranger); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int stranger() const { return m_stranger; }
    LocalSocket& guarded() { return *m_guarded; }
    void closeGuarded() { m_guarded.reset(); }
    /// Everything that can be received, and the errno that ends it.
    std::pair<std::string, int> receiveAll() {
        std::string all;
        char buffer[100];
        ssize_t count = 0;
        while ((count = m_guarded->receive(buffer, sizeof buffer)) > 0) {
            all.append(buffer, static_cast<size_t>(count));
        }
        return {all, count == 0 ? 0 : errno};
    }

private:
    int m_stranger;
    std::unique_ptr<LocalSocket> m_guarded;
};

bool kernelRefuses() {
    int ends[2];
    EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    const int zero = 0;
    const bool can = ::setsockopt(ends[0], SOL_SOCKET, 83, &zero, sizeof zero) == 0;
    ::close(ends[0]);
    ::close(ends[1]);
    return can;
}

class Soon {
public:
    ~Soon() { EXPECT_LT(Clock::now() - m_start, SOON) << "it waited for the socket to end"; }

private:
    Clock::time_point m_start = Clock::now();
};

TEST(LocalSocket, HasDescriptorsRefusedByAKernelThatCan) {
    if (!kernelRefuses()) {
        GTEST_SKIP() << "this kernel has no SO_PASSRIGHTS";
    }
    Connection connection(Guard::KERNEL_OR_READER);
    const LingeringSocket passed;
    for (const int flags : {0, static_cast<int>(MSG_OOB)}) {
        EXPECT_FALSE(passed.sendTo(connection.stranger(), "x", flags));
        EXPECT_EQ(EPERM, errno);
    }
    EXPECT_EQ(1, ::send(connection.stranger(), "y", 1, 0));
    EXPECT_EQ(std::make_pair(std::string("y"), EAGAIN), connection.receiveAll());
}

TEST(LocalSocket, ReceivesWhatHasNoDescriptors) {
    for (const Guard guard : {Guard::KERNEL_OR_READER, Guard::READER}) {
        Connection connection(guard);
        EXPECT_EQ(std::make_pair(std::string(), EAGAIN), connection.receiveAll());
        std::string sent;
        for (int i = 0; i < 100; ++i) {
            sent += std::to_string(i);
            const std::string piece = std::to_string(i);
            EXPECT_GT(::send(connection.stranger(), piece.data(), piece.size(), 0), 0);
        }
        EXPECT_EQ(std::make_pair(sent, EAGAIN), connection.receiveAll());
        ::shutdown(connection.stranger(), SHUT_WR);
        EXPECT_EQ(std::make_pair(std::string(), 0), connection.receiveAll());
    }
}

TEST(LocalSocket, ReadsNothingThatDescriptorsComeWith) {
    const struct {
        const char* before;
        int flags;
        const char* sentence;
    } rows[] = {
        {"", 0, "with the first byte"},
        {"abcdef", 0, "behind other bytes"},
        {"", MSG_OOB, "out of band"},
        {"abcdef", MSG_OOB, "out of band, behind other bytes"},
    };
    for (const auto& row : rows) {
        const Soon soon;
        Connection connection(Guard::READER);
        LingeringSocket passed;
        const std::string before = row.before;
        ASSERT_EQ(static_cast<ssize_t>(before.size()),
                  ::send(connection.stranger(), before.data(), before.size(), 0));
        ASSERT_TRUE(passed.sendTo(connection.stranger(), "x", row.flags)) << row.sentence;
        ::send(connection.stranger(), "rest", 4, 0);
        passed.letGo();
        const auto [received, error] = connection.receiveAll();
        EXPECT_EQ(EBADMSG, error) << row.sentence;
        EXPECT_EQ(0u, before.find(received)) << row.sentence << ": " << received;
        connection.closeGuarded();
        char byte = 0;
        EXPECT_GE(0, ::recv(connection.stranger(), &byte, 1, 0)) << "the stranger is sent away";
    }
}

TEST(LocalSocket, ClosesWithoutWaitingForWhatWasNotRead) {
    const Soon soon;
    Connection connection(Guard::READER);
    LingeringSocket passed;
    ASSERT_TRUE(passed.sendTo(connection.stranger(), "x"));
    passed.letGo();
    connection.closeGuarded();
    EXPECT_EQ(-1, ::send(connection.stranger(), "y", 1, MSG_NOSIGNAL));
    EXPECT_EQ(EPIPE, errno);
}

TEST(LocalSocket, ClosesWithoutWaitingForThoseWhoWereNotAccepted) {
    const Soon soon;
    std::string name = (std::filesystem::temp_directory_path() / "local-socket-XXXXXX").string();
    ASSERT_NE(nullptr, ::mkdtemp(name.data()));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (name + "/socket").copy(address.sun_path, sizeof address.sun_path - 1);
    auto listening = std::make_unique<LocalSocket>(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0),
                                                   Guard::READER);
    ASSERT_EQ(0, ::bind(listening->fd(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    ASSERT_EQ(0, ::listen(listening->fd(), 5));
    const int stranger = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(0, ::connect(stranger, reinterpret_cast<sockaddr*>(&address), sizeof address));
    LingeringSocket passed;
    ASSERT_TRUE(passed.sendTo(stranger, "x"));
    passed.letGo();
    listening.reset();
    char byte = 0;
    EXPECT_GE(0, ::recv(stranger, &byte, 1, 0)) << "the stranger is sent away";
    ::close(stranger);
    std::filesystem::remove_all(name);
}

}  // namespace
}  // namespace KovTest
