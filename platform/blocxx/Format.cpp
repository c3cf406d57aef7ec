// SPDX-License-Identifier: Apache-2.0
//
// Arguments may come from anywhere, so they are copied and never scanned.
#include "blocxx/Format.hpp"

#include <ostream>

namespace blocxx {

String Format::substitute(std::string_view pattern, const StringArray& args) {
    String text;
    text.reserve(pattern.size());
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char next = pattern[i] == '%' && i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        const bool isPlaceholder = next >= '1' && next <= '9';
        if (isPlaceholder && static_cast<size_t>(next - '1') < args.size()) {
            text += args[static_cast<size_t>(next - '1')];
            ++i;
        } else {
            text += pattern[i];
            i += next == '%' ? 1 : 0;
        }
    }
    return text;
}

std::ostream& operator<<(std::ostream& out, const Format& message) {
    return out << message.toString();
}

}  // namespace blocxx
