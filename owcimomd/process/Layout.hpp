// SPDX-License-Identifier: Apache-2.0
//
// Every path that the daemon uses. The prefix is put in front of the absolute path as plain text;
// it is empty for the installed daemon.
#pragma once

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;
using blocxx::StringArray;

/// The unprivileged account that the daemon of the machine itself runs as.
inline constexpr const char* ACCOUNT = "owcimomd";

class Layout {
public:
    /// `configFile` empty: the installed one.
    Layout(String prefix, String configFile)
        : m_prefix(std::move(prefix)), m_configFile(std::move(configFile)) {}

    /// Whether this is the machine's own daemon: only that one changes its account.
    bool isLive() const noexcept { return m_prefix.empty(); }

    String configFile() const {
        return m_configFile.empty() ? m_prefix + "/etc/opt/tarvo/kov/openwbem/openwbem.conf"
                                    : m_configFile;
    }
    /// Beside the configuration file.
    String dropInDirectory() const { return configFile() + ".d"; }
    String stateDirectory() const { return m_prefix + "/var/opt/tarvo/kov/openwbem"; }
    String repository() const { return stateDirectory() + "/repository"; }
    String socket() const { return stateDirectory() + "/owcimomd.sock"; }
    String pidFile() const { return stateDirectory() + "/owcimomd.pid"; }

private:
    String m_prefix;
    String m_configFile;
};

}  // namespace OwCimomd
