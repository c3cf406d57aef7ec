// SPDX-License-Identifier: Apache-2.0
//
// The built daemon as a process of its own, on a tree in a temporary directory with a repository
// that holds the namespaces root (with CIM_Namespace) and root/security (with OpenWBEM_UserACL).
#pragma once

#include <sys/types.h>

#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {

/// Whether the memory of processes tells anything: AddressSanitizer keeps what was freed.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool MEMORY_COUNTS = false;
#elif defined(__has_feature)
inline constexpr bool MEMORY_COUNTS = !__has_feature(address_sanitizer);
#else
inline constexpr bool MEMORY_COUNTS = true;
#endif

class LiveDaemon {
public:
    enum class Start { NOW, LATER };
    explicit LiveDaemon(Start start = Start::NOW);
    /// Kills it when it still runs.
    ~LiveDaemon();
    LiveDaemon(const LiveDaemon&) = delete;
    LiveDaemon& operator=(const LiveDaemon&) = delete;

    /// How many descriptors a daemon that is started from now on may have.
    void limitDescriptors(unsigned count) { m_descriptors = count; }
    /// Starts it in the foreground and waits until it answers. Throws std::runtime_error with what
    /// it logged when it does not.
    void start();
    /// Sends the signal and waits for the end; returns the wait status.
    int end(int signal);
    bool isRunning() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }

    /// A new connection.
    ClientCIMOMHandleRef connect() const;

    String prefix() const { return m_directory.path(); }
    String state() const { return prefix() + "/var/opt/tarvo/kov/openwbem"; }
    String repository() const { return state() + "/repository"; }
    String socket() const { return state() + "/owcimomd.sock"; }
    String config() const { return prefix() + "/etc/opt/tarvo/kov/openwbem/openwbem.conf"; }
    String dropIn(const String& name) const { return config() + ".d/" + name; }
    String log() const;

private:
    TemporaryDirectory m_directory;
    pid_t m_pid = -1;
    unsigned m_descriptors = 0;  // 0: as many as this process
};

void writeFile(const String& path, const String& content);

/// Runs `action` in a child process with that user id; returns its exit status, which is what
/// `action` returns. No connection may be open meanwhile: the child would share its event loop.
int asUser(uid_t uid, const std::function<int()>& action);

}  // namespace KovTest
