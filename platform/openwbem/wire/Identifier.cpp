// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/Identifier.hpp"

#include <algorithm>

#include "openwbem/model/Utf8.hpp"

namespace OpenWBEM {

namespace {

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

bool isNameStart(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

bool isIdentifier(std::string_view text) noexcept {
    if (text.empty() || !isNameStart(text.front())) {
        return false;
    }
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return isNameStart(c) || isDigit(c); }) &&
           Utf8::findInvalid(text) == std::string_view::npos;
}

bool isNamespaceName(std::string_view text) noexcept {
    for (size_t slash = text.find('/'); slash != std::string_view::npos; slash = text.find('/')) {
        if (!isIdentifier(text.substr(0, slash))) {
            return false;
        }
        text.remove_prefix(slash + 1);
    }
    return isIdentifier(text);
}

}  // namespace OpenWBEM
