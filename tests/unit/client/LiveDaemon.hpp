// SPDX-License-Identifier: Apache-2.0
//
// The daemon as a child process, on a tree in a temporary directory. Its repository has the
// namespaces root (with CIM_Namespace) and root/security (with OpenWBEM_UserACL).
#pragma once

#include <sys/types.h>

#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {

/// Whether memory can be compared with limits. AddressSanitizer keeps what was freed.
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
    /// Kills the daemon if it still runs.
    ~LiveDaemon();
    LiveDaemon(const LiveDaemon&) = delete;
    LiveDaemon& operator=(const LiveDaemon&) = delete;

    /// Limits the descriptors of a daemon that is started from now on.
    void limitDescriptors(unsigned count) { m_descriptors = count; }
    /// Starts the daemon in the foreground and waits until it answers. If it does not, throws
    /// std::runtime_error with its log.
    void start();
    /// Sends the signal and waits until the daemon ends. Returns the wait status.
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

/// Runs `action` in a child with that user id. Returns what `action` returns, 125 when it throws,
/// 126 when the user cannot be changed, -1 when the child is killed. No connection may be open
/// meanwhile: the child would share its event loop.
int asUser(uid_t uid, const std::function<int()>& action);

}  // namespace KovTest
