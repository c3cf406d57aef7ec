// SPDX-License-Identifier: Apache-2.0
//
// Every path and name that an installation has on the machine or below a prefix, made in this one
// place. The prefix is put as plain text in front of an absolute path; it is empty on the machine
// itself.
#pragma once

#include "blocxx/String.hpp"

namespace KovSetup {

using blocxx::String;
using blocxx::StringArray;

/// The unprivileged account that the object manager runs as.
inline constexpr const char* ACCOUNT = "owcimomd";

class Layout {
public:
    /// `schemaDirectory` empty: the installed schema below the prefix.
    Layout(String prefix, String schemaDirectory);

    /// Whether this is the machine's own installation: only there accounts, owners and ACLs are
    /// set.
    bool isLive() const noexcept { return m_prefix.empty(); }

    String configDirectory() const { return m_prefix + "/etc/opt/tarvo/kov/openwbem"; }
    String configFile() const { return configDirectory() + "/openwbem.conf"; }
    String dropInDirectory() const { return configDirectory() + "/openwbem.conf.d"; }
    String privilegesDirectory() const { return configDirectory() + "/privileges"; }
    String ownPrivilegesDirectory() const { return privilegesDirectory() + "/owcimomd"; }

    String stateDirectory() const { return m_prefix + "/var/opt/tarvo/kov"; }
    /// Belongs to the account, as everything in it.
    String dataDirectory() const { return stateDirectory() + "/openwbem"; }
    String repository() const { return dataDirectory() + "/repository"; }
    /// The repository of before, while a working copy is being swapped in.
    String repositoryBackup() const { return dataDirectory() + "/repository-back_LKjs2354"; }
    /// Where a new repository is made. Not in the data directory: there the account could put
    /// something else in its place while root works on it.
    String unfinishedRepository() const { return stateDirectory() + "/repository.kov-setup"; }

    const String& schemaDirectory() const noexcept { return m_schemaDirectory; }
    String schemaFile(const String& name) const { return m_schemaDirectory + "/" + name; }

private:
    String m_prefix;
    String m_schemaDirectory;
};

}  // namespace KovSetup
