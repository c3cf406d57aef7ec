// SPDX-License-Identifier: Apache-2.0
#include "openwbem/privilege/PrivilegeConfig.hpp"

#include <new>
#include <utility>

#include "openwbem/privilege/Reader.hpp"

namespace OpenWBEM::PrivilegeConfig {

void openwbem_privconfig_parse(const String& text, IncludeHandler& handler,
                               Privileges& privileges) {
    Privileges parsed;
    Reader(handler, parsed).read(text, "");
    privileges = std::move(parsed);
}

}  // namespace OpenWBEM::PrivilegeConfig
