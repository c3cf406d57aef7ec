// SPDX-License-Identifier: Apache-2.0
//
// Part of CmdLineParser: lists the options with the names on the left and the descriptions in a
// column of their own.
#include <algorithm>

#include "blocxx/CmdLineParser.hpp"

namespace blocxx {

namespace {

using Option = CmdLineParser::Option;

// Names may take 1/NAMES_SHARE of a line. The description of a wider one is on the lines below.
constexpr size_t NAMES_SHARE = 2;

String namesOf(const Option& row) {
    String names = "  ";
    if (row.shortopt != 0) {
        names += String{'-', row.shortopt};
    }
    if (row.longopt != nullptr) {
        names += String(row.shortopt != 0 ? ", --" : "--") + row.longopt;
    }
    return row.argtype == CmdLineParser::E_REQUIRED_ARG ? names + " <arg>" : names;
}

/// The text in lines of at most `width` characters, broken at blanks. A longer word stays whole.
StringArray wrap(std::string_view text, size_t width) {
    StringArray lines;
    while (!text.empty()) {
        size_t end = text.size();
        if (end > width) {
            end = text.rfind(' ', width);
            end = end == text.npos || end == 0 ? std::min(text.find(' '), text.size()) : end;
        }
        const std::string_view line = text.substr(0, end);
        lines.emplace_back(line.substr(0, line.find_last_not_of(' ') + 1));
        text.remove_prefix(std::min(text.find_first_not_of(' ', end), text.size()));
    }
    return lines;
}

String describe(const Option& row, size_t column, size_t width) {
    String entry = namesOf(row);
    const StringArray lines = wrap(row.description != nullptr ? row.description : "", width);
    size_t used = entry.size();
    for (const String& line : lines) {
        if (used + 2 > column) {
            entry += '\n';
            used = 0;
        }
        entry.append(column - used, ' ').append(line);
        used = column;
    }
    return entry + '\n';
}

}  // namespace

String CmdLineParser::getUsage(const Option* options, unsigned maxColumns) {
    size_t widest = 0;
    const Option* end = options;
    for (; end->longopt != nullptr || end->shortopt != 0; ++end) {
        widest = std::max(widest, namesOf(*end).size());
    }
    const size_t column = std::min<size_t>(widest + 2, maxColumns / NAMES_SHARE);
    const size_t width = maxColumns > column ? maxColumns - column : 1;
    String usage = "Options:\n";
    for (const Option* row = options; row != end; ++row) {
        usage += describe(*row, column, width);
    }
    return usage;
}

}  // namespace blocxx
