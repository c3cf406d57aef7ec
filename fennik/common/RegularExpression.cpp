// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/RegularExpression.hpp"

#include <limits>

#include "blocxx/Format.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;

namespace {

String reasonFor(int error, const regex_t& pattern) {
    char text[256];
    regerror(error, &pattern, text, sizeof text);
    return text;
}

}  // namespace

RE::RE(const char* pattern, int flags) {
    if (const int error = regcomp(&m_compiled, pattern, flags | REG_EXTENDED)) {
        BLOCXX_THROW(RegularExpressionException,
                     Format("The regular expression \"%1\" does not compile: %2", pattern,
                            reasonFor(error, m_compiled)));
    }
}

RE::~RE() {
    regfree(&m_compiled);
}

RegularExpression::RegularExpression(const char* pattern, int options)
    : m_pattern(pattern, options & ~REG_NOSUB) {}

RegularExpression::RegularExpression(const String& pattern, int options)
    : RegularExpression(pattern.c_str(), options) {}

bool RegularExpression::search(const String& text, regmatch_t& match) const {
    // regexec's offsets are ints.
    if (text.size() > static_cast<size_t>(std::numeric_limits<regoff_t>::max())) {
        BLOCXX_THROW(RegularExpressionException, "The text is too long for a regular expression");
    }
    match = {0, static_cast<regoff_t>(text.size())};
    const int result = regexec(m_pattern.compiled(), text.data(), 1, &match, REG_STARTEND);
    if (result != 0 && result != REG_NOMATCH) {
        BLOCXX_THROW(RegularExpressionException, Format("Searching with a regular expression: %1",
                                                        reasonFor(result, *m_pattern.compiled())));
    }
    return result == 0;
}

bool RegularExpression::matches(const String& text) const {
    regmatch_t match;
    return search(text, match);
}

String RegularExpression::matching_substring(const String& text) const {
    regmatch_t match;
    if (!search(text, match)) {
        return {};
    }
    return text.substr(static_cast<size_t>(match.rm_so),
                       static_cast<size_t>(match.rm_eo - match.rm_so));
}

blocxx::Array<size_t> RegularExpression::find_matching_line_numbers(
    const blocxx::StringArray& lines) const {
    blocxx::Array<size_t> found;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (matches(lines[i])) {
            found.push_back(i);
        }
    }
    return found;
}

}  // namespace KOVNS2
