// SPDX-License-Identifier: Apache-2.0
#include "openwbem/privilege/PrivilegeConfig.hpp"

#include <new>
#include <utility>

#include "openwbem/privilege/Reader.hpp"

namespace OpenWBEM::PrivilegeConfig {

ParseException* ParseException::clone() const noexcept {
    try {
        return new (std::nothrow) ParseException(*this);
    } catch (...) {
        return nullptr;
    }
}

void ParseException::rethrow() const {
    throw ParseException(*this);
}

void openwbem_privconfig_parse(const String& text, IncludeHandler& handler,
                               Privileges& privileges) {
    Privileges parsed;
    Reader(handler, parsed).read(text, "");
    privileges = std::move(parsed);
}

}  // namespace OpenWBEM::PrivilegeConfig
