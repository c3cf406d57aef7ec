// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/ValueText.hpp"

namespace OpenWBEM::ValueText {

namespace {

template <class Real>
void appendRealText(String& out, Real value) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    const std::string_view text(buffer, static_cast<size_t>(end - buffer));
    const size_t exponent = text.find('e');
    const std::string_view mantissa = text.substr(0, exponent);
    out += mantissa;
    if (mantissa.find('.') == std::string_view::npos) {
        out += ".0";
    }
    if (exponent != std::string_view::npos) {
        out += text.substr(exponent);
    }
}

}  // namespace

void appendReal(String& out, float value) {
    appendRealText(out, value);
}

void appendReal(String& out, double value) {
    appendRealText(out, value);
}

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
