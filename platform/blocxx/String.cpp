// SPDX-License-Identifier: Apache-2.0
//
// Letters are ASCII letters whatever the locale, so that names compare alike on every system.
#include "blocxx/String.hpp"

#include <algorithm>

namespace blocxx {

namespace {

constexpr unsigned char lower(char c) noexcept {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

}  // namespace

StringArray tokenize(std::string_view text, std::string_view separators) {
    StringArray pieces;
    for (size_t begin = text.find_first_not_of(separators); begin != text.npos;) {
        const size_t end = std::min(text.find_first_of(separators, begin), text.size());
        pieces.emplace_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separators, end);
    }
    return pieces;
}

bool equalsIgnoreCase(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, {}, lower, lower);
}

int compareIgnoreCase(std::string_view left, std::string_view right) noexcept {
    const size_t common = std::min(left.size(), right.size());
    for (size_t i = 0; i < common; ++i) {
        if (const int difference = lower(left[i]) - lower(right[i])) {
            return difference;
        }
    }
    return left.size() < right.size() ? -1 : static_cast<int>(left.size() > right.size());
}

String toLower(std::string_view text) {
    String result(text);
    std::ranges::transform(result, result.begin(), lower);
    return result;
}

}  // namespace blocxx
