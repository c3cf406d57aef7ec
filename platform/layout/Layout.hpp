// SPDX-License-Identifier: Apache-2.0
//
// The paths of an installation and the names of its account and namespaces, for every program. The
// paths are those of this machine. A staged tree has the same paths behind its prefix, which is put
// in front as text, without a slash between.
#pragma once

#include <string>
#include <utility>

namespace Layout {

/// The unprivileged account that the daemon and external commands run as.
inline constexpr const char* ACCOUNT = "owcimomd";

// The namespaces that every installation has.
inline constexpr const char* INTEROP_NS = "root";
inline constexpr const char* SECURITY_NS = "root/security";
inline constexpr const char* KOV_NS = "kov";

// By these, clients find the instances that the daemon computes: of CIM_ObjectManager and of
// CIM_RegisteredProfile.
inline constexpr const char* OBJECT_MANAGER_NAME = "owcimomd";
inline constexpr const char* REGISTRATION_PROFILE_ID = "KOV:DMTF Profile Registration 1.0.0";

// What is installed. No product may register a program below INSTALLATION as its own.
inline constexpr const char* INSTALLATION = "/opt/tarvo/kov";
inline constexpr const char* DAEMON = "/opt/tarvo/kov/sbin/owcimomd";
inline constexpr const char* INIT_SCRIPT = "/opt/tarvo/kov/sbin/tarvo-owcimomd_init";
inline constexpr const char* SCHEMA_DIRECTORY = "/opt/tarvo/kov/share/openwbem";
inline constexpr const char* QUALIFIERS_FILE = "/opt/tarvo/kov/share/openwbem/qualifiers.mof";

// The configuration. Root owns it; the account may read it.
inline constexpr const char* CONFIG_FILE = "/etc/opt/tarvo/kov/openwbem/openwbem.conf";
inline constexpr const char* DROP_IN_DIRECTORY = "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d";
/// The users who may speak to the daemon over HTTP, with hashes of their passwords. owpasswd writes
/// it. Only the account may read it besides root.
inline constexpr const char* PASSWORD_FILE = "/etc/opt/tarvo/kov/openwbem/owcimomd.passwords";
/// Where owpasswd makes the next one.
inline constexpr const char* UNFINISHED_PASSWORD_FILE =
    "/etc/opt/tarvo/kov/openwbem/owcimomd.passwords.owpasswd";
/// For the privilege files that let the provider agent start the providers' processes.
inline constexpr const char* AGENT_PRIVILEGES_DIRECTORY =
    "/etc/opt/tarvo/kov/openwbem/privileges/owcimomd";
/// For the privilege files of those processes.
inline constexpr const char* PRIVILEGES_DIRECTORY = "/etc/opt/tarvo/kov/openwbem/privileges";

// Variable data. Root owns STATE_DIRECTORY. The account owns DATA_DIRECTORY and everything in it,
// which is therefore hostile.
inline constexpr const char* STATE_DIRECTORY = "/var/opt/tarvo/kov";
inline constexpr const char* LOCK_FILE = "/var/opt/tarvo/kov/fennik.lock";
/// Held by owpasswd while it changes the password file.
inline constexpr const char* PASSWORD_LOCK_FILE = "/var/opt/tarvo/kov/owpasswd.lock";
/// Where kov-setup makes a repository, because the account cannot write there.
inline constexpr const char* UNFINISHED_REPOSITORY = "/var/opt/tarvo/kov/repository.kov-setup";
inline constexpr const char* DATA_DIRECTORY = "/var/opt/tarvo/kov/openwbem";
inline constexpr const char* SOCKET = "/var/opt/tarvo/kov/openwbem/owcimomd.sock";
inline constexpr const char* PID_FILE = "/var/opt/tarvo/kov/openwbem/owcimomd.pid";
inline constexpr const char* REPOSITORY = "/var/opt/tarvo/kov/openwbem/repository";
// The working copy of the repository, and the previous repository while the copy is swapped in. The
// odd endings avoid clashes with other files.
inline constexpr const char* REPOSITORY_COPY =
    "/var/opt/tarvo/kov/openwbem/repository-copy_QLkJ235";
inline constexpr const char* REPOSITORY_BACKUP =
    "/var/opt/tarvo/kov/openwbem/repository-back_LKjs2354";
/// Hard links to the files of the backup, for as long as the backup is being removed.
inline constexpr const char* REPOSITORY_KEPT_FILES =
    "/var/opt/tarvo/kov/openwbem/repository-back_LKjs2354-files";

/// One installation: this machine's, or a staged tree.
class Tree {
public:
    /// An empty `prefix` stands for this machine.
    explicit Tree(std::string prefix) : m_prefix(std::move(prefix)) {}

    bool isLive() const noexcept { return m_prefix.empty(); }
    /// One of the paths above, in this tree.
    std::string path(const char* installed) const { return m_prefix + installed; }

private:
    std::string m_prefix;
};

}  // namespace Layout
