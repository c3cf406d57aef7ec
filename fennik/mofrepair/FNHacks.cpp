// SPDX-License-Identifier: Apache-2.0
#include "fennik/mofrepair/FNHacks.hpp"

#include "fennik/common/RegularExpression.hpp"
#include "fennik/common/TextUtils.hpp"
#include "fennik/common/UnitLog.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;
using blocxx::StringArray;

namespace {

constexpr std::string_view BLANKS = " \t";
/// A quote and a line feed, escaped as in a MOF string.
constexpr const char* ESCAPED_QUOTE = "\\\"";
constexpr const char* ESCAPED_LINE_FEED = "\\n";

UnitLog log() {
    return UnitLog("fixBrokenEmbeddedInstances: ", "kov.fennikx.hacks", "FNHacks");
}

/// The pieces between separators, empty ones included.
StringArray split(const String& text, char separator) {
    StringArray pieces;
    size_t begin = 0;
    for (size_t end = 0; end != String::npos; begin = end + 1) {
        end = text.find(separator, begin);
        pieces.push_back(text.substr(begin, end == String::npos ? end : end - begin));
    }
    return pieces;
}

String quoted(const String& text) {
    return ESCAPED_QUOTE + text + ESCAPED_QUOTE;
}

RegularExpression withNames(const char* pattern, const StringArray& names) {
    return {String(Format(pattern, untokenize(names, "|"))), 0};
}

size_t backOverBlanks(std::string_view text, size_t end) {
    const size_t last = text.substr(0, end).find_last_not_of(BLANKS);
    return last == std::string_view::npos ? 0 : last + 1;
}

// The two functions search backwards: a regular expression would try again at each of a long run of
// blanks.

/// Where "[ \t]*;[ \t]*$" matches in `text`; its size when it does not.
size_t findSemicolonEnding(std::string_view text) {
    const size_t end = backOverBlanks(text, text.size());
    return end > 0 && text[end - 1] == ';' ? backOverBlanks(text, end - 1) : text.size();
}

/// Where "\"[ \t]*;[ \t]*$" matches in `text`; its size when it does not.
size_t findQuoteEnding(std::string_view text) {
    const size_t at = findSemicolonEnding(text);
    return at < text.size() && at > 0 && text[at - 1] == '"' ? at - 1 : text.size();
}

/// The three parts of an entry of an embedded instance. `start` and `end` may be empty.
struct Entry {
    String start;
    String data;
    String end;
};

/// Matches the start of a line that assigns a string to one of the properties, up to the quote.
RegularExpression assignmentOf(const StringArray& embeddedProperties) {
    return withNames("^[ \t]*(%1)[ \t]*=[ \t]*\"", embeddedProperties);
}

/// The property that earlier versions rendered wrongly.
constexpr const char* PROCESS = "Process";

class EmbeddedInstanceRepair {
public:
    EmbeddedInstanceRepair(const StringArray& strings, const StringArray& arrays)
        : m_stringEntry(withNames("^[ \t]*(%1)[ \t]*=[ \t]*.*;[ \t]*$", strings)),
          m_arrayEntry(withNames("^[ \t]*(%1)[ \t]*=[ \t]*.*;[ \t]*$", arrays)),
          m_entryStart("^[ \t]*[^ \t=]+[ \t]*=[ \t]*", 0) {}

    /// Returns `line` with its entries repaired. `start` is its text up to the opening quote.
    String repairLine(const String& line, const String& start) const;

private:
    String repairEntry(const String& entry) const;
    Entry takeApart(const String& entry) const;
    static String repairString(const String& entry, const Entry& parts);
    static String repairArray(const String& entry, const Entry& parts);
    String repairOther(const String& entry, const Entry& parts) const;

    RegularExpression m_stringEntry;
    RegularExpression m_arrayEntry;
    RegularExpression m_entryStart;
};

String EmbeddedInstanceRepair::repairLine(const String& line, const String& start) const {
    log().debug("Fixing bad embedded instance on line: %1", line);
    // Skips the opening quote, which must not be taken for the closing one.
    const String rest = line.substr(start.size());
    const size_t endAt = findQuoteEnding(rest);
    const String end = rest.substr(endAt);
    const String rhs = rest.substr(0, endAt);
    log().debug("Line.start -->%1<--", start);
    log().debug("Line.end -->%1<--", end);
    log().debug("RHS=%1", rhs);
    StringArray entries = split(search_replace(rhs, ESCAPED_LINE_FEED, "\n"), '\n');
    for (String& entry : entries) {
        entry = repairEntry(entry);
    }
    String repaired = start + untokenize(entries, ESCAPED_LINE_FEED) + end;
    log().debug("Altered embedded instance line: %1", repaired);
    return repaired;
}

String EmbeddedInstanceRepair::repairEntry(const String& entry) const {
    log().debug("Checking RHS entry: %1", entry);
    const Entry parts = takeApart(entry);
    log().debug("RHS.start -->%1<--", parts.start);
    log().debug("RHS.end -->%1<--", parts.end);
    log().debug("RHS.data -->%1<--", parts.data);
    if (m_stringEntry.matches(entry)) {
        return repairString(entry, parts);
    }
    return m_arrayEntry.matches(entry) ? repairArray(entry, parts) : repairOther(entry, parts);
}

Entry EmbeddedInstanceRepair::takeApart(const String& entry) const {
    const String start = m_entryStart.matching_substring(entry);
    const size_t endAt = findSemicolonEnding(entry);
    // When there is no value, both `start` and `end` include the blanks before the semicolon.
    const size_t size = endAt > start.size() ? endAt - start.size() : 0;
    return {start, entry.substr(start.size(), size), entry.substr(endAt)};
}

String EmbeddedInstanceRepair::repairString(const String& entry, const Entry& parts) {
    if (parts.data.starts_with(ESCAPED_QUOTE) && parts.data.ends_with(ESCAPED_QUOTE)) {
        return entry;
    }
    String repaired = parts.start + quoted(parts.data) + parts.end;
    log().debug("Added quotes. New entry: %1", repaired);
    return repaired;
}

String EmbeddedInstanceRepair::repairArray(const String& entry, const Entry& parts) {
    if (parts.data.starts_with('{') && parts.data.ends_with('}')) {
        return entry;
    }
    const String values = search_replace(parts.data, ",", "\\\", \\\"");
    String repaired = parts.start + "{ " + quoted(values) + " }" + parts.end;
    log().debug("Added quotes and braces. New entry: -->%1<--", repaired);
    return repaired;
}

String EmbeddedInstanceRepair::repairOther(const String& entry, const Entry& parts) const {
    if (parts.data != "}" || parts.end.find(';') != String::npos) {
        return entry;
    }
    String repaired = parts.start + parts.data + ";" + parts.end;
    // With a semicolon the next repair would take it for a value and put it into quotes.
    if (m_stringEntry.matches(repaired) || m_arrayEntry.matches(repaired)) {
        return entry;
    }
    log().debug("Adding semicolon.  New entry: -->%1<--", repaired);
    return repaired;
}

}  // namespace

void fixBrokenEmbeddedInstances(String& mof, const StringArray& embeddedProperties,
                                const StringArray& stringProperties,
                                const StringArray& arrayProperties) {
    StringArray lines = split(mof, '\n');
    const RegularExpression lineStart = assignmentOf(embeddedProperties);
    const auto broken = lineStart.find_matching_line_numbers(lines);
    if (broken.empty()) {
        log().debug("Nothing to replace.  Could not find any embedded instance lines.");
        return;
    }
    log().debug("Need to (potentially) alter embedded instances:\n%1", mof);
    const EmbeddedInstanceRepair repair(stringProperties, arrayProperties);
    for (const size_t number : broken) {
        String& line = lines[number];
        line = repair.repairLine(line, lineStart.matching_substring(line));
    }
    mof = untokenize(lines, "\n");
    log().debug("Corrected MOF:\n%1", mof);
}

void fixBrokenEmbeddedInstances(String& mof) {
    fixBrokenEmbeddedInstances(
        mof, {PROCESS},
        split("UserName|ParentProcessID|ProcessTTY|ModulePath|CSCreationClassName|CSName|"
              "OSCreationClassName|CreationClassName|OSName|Handle|Name",
              '|'),
        {"Parameters"});
}

void keepFromRepair(String& mof) {
    if (mof.find(PROCESS) == String::npos) {
        return;
    }
    StringArray lines = split(mof, '\n');
    const RegularExpression lineStart = assignmentOf({PROCESS});
    for (const size_t number : lineStart.find_matching_line_numbers(lines)) {
        String& line = lines[number];
        const size_t quote = lineStart.matching_substring(line).size() - 1;
        const size_t blanks = backOverBlanks(line, quote);
        line.replace(blanks, quote - blanks, "\n        ");
    }
    mof = untokenize(lines, "\n");
}

void fixImproperlyEscapedCharacters(String& mof) {
    if (mof.find('\r') == String::npos) {
        return;
    }
    log().debug("Fixing all improperly escaped \"\\r\" characters");
    mof = search_replace(mof, "\r", "\\r");
}

}  // namespace KOVNS2
