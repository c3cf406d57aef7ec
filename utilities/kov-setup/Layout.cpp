// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Layout.hpp"

#include <utility>

namespace KovSetup {

Layout::Layout(String prefix, String schemaDirectory)
    : m_prefix(std::move(prefix)), m_schemaDirectory(std::move(schemaDirectory)) {
    if (m_schemaDirectory.empty()) {
        m_schemaDirectory = m_prefix + "/opt/tarvo/kov/share/openwbem";
    }
}

}  // namespace KovSetup
