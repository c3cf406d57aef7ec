// SPDX-License-Identifier: Apache-2.0
//
// POSIX extended regular expressions. The patterns are the tool's own; one that does not compile is
// a bug and throws RegularExpressionException.
#pragma once

#include <regex.h>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

BLOCXX_DECLARE_EXCEPTION(RegularExpression)

/// A compiled pattern for callers that call regexec themselves. `flags` are regcomp's; extended
/// syntax is always on.
class RE {
public:
    RE(const char* pattern, int flags);
    ~RE();
    RE(const RE&) = delete;
    RE& operator=(const RE&) = delete;

    const regex_t* compiled() const noexcept { return &m_compiled; }

private:
    regex_t m_compiled;
};

/// Searches texts for a pattern. `options` are regcomp's flags. A text may contain NULs. Searching
/// throws RegularExpressionException for a text that is too long or exhausts regexec's memory.
class RegularExpression {
public:
    RegularExpression(const char* pattern, int options);
    RegularExpression(const blocxx::String& pattern, int options);

    bool matches(const blocxx::String& text) const;
    /// The leftmost longest match; empty when there is none.
    blocxx::String matching_substring(const blocxx::String& text) const;
    /// The indexes of the lines that match, in ascending order.
    blocxx::Array<size_t> find_matching_line_numbers(const blocxx::StringArray& lines) const;

private:
    bool search(const blocxx::String& text, regmatch_t& match) const;

    RE m_pattern;
};

}  // namespace KOVNS2
