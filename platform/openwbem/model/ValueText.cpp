// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/ValueText.hpp"

namespace OpenWBEM::ValueText {

void appendHexEscape(String& out, char16_t unit) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    out += "\\x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        out += DIGITS[(static_cast<unsigned>(unit) >> static_cast<unsigned>(shift)) & 0xFU];
    }
}

void appendQuotedChar(String& out, Char16 value) {
    out += '\'';
    if (value.unit == u'\\' || value.unit == u'\'') {
        out += '\\';
        out += static_cast<char>(value.unit);
    } else if (value.unit >= 0x20 && value.unit < 0x7F) {
        out += static_cast<char>(value.unit);
    } else {
        appendHexEscape(out, value.unit);
    }
    out += '\'';
}

}  // namespace OpenWBEM::ValueText
