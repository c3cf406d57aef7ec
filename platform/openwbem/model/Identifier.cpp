// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/Identifier.hpp"

#include <algorithm>

#include "blocxx/Utf8.hpp"

namespace OpenWBEM {

bool isIdentifier(std::string_view text) noexcept {
    if (text.empty() || !isIdentifierStart(text.front())) {
        return false;
    }
    return std::all_of(text.begin(), text.end(), isIdentifierPart) &&
           blocxx::Utf8::findInvalid(text) == std::string_view::npos;
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
