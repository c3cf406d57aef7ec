// SPDX-License-Identifier: Apache-2.0
//
// The privilege configuration: the text that says as which user a monitored process runs, which
// paths it may use in which way, and which programs it may start with which arguments. Written for
// those who check such texts; nothing here enforces them. docs/privilege-files.md describes the
// language.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <map>
#include <memory>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace OpenWBEM::PrivilegeConfig {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;

/// The most bytes that a text and everything that it includes may have together.
constexpr size_t MAX_TEXT_SIZE = size_t{4} * 1024 * 1024;
/// How deep includes may nest.
constexpr unsigned MAX_INCLUDE_DEPTH = 16;

/// A program with exactly the arguments that it may be started with: `path args... @ name`.
struct CheckedCommand {
    String path;
    StringArray args;
    String name;  ///< of the privilege file (monitored) or of the user (user) that it runs with

    friend bool operator==(const CheckedCommand&, const CheckedCommand&) = default;
};

/// What a text says, its includes taken in where they stand.
struct Privileges {
    String unpriv_user;  ///< empty when the text names none
    /// The items of the path lists in their order, by keyword ("open_r", "stat" ...).
    std::map<String, StringArray, std::less<>> paths;
    Array<CheckedCommand> monitored_exec_check_args;
    Array<CheckedCommand> user_exec_check_args;

    friend bool operator==(const Privileges&, const Privileges&) = default;
};

/// Where the text of an `include { name }` comes from. What the handler throws passes through the
/// parser unchanged.
class IncludeHandler {
public:
    virtual ~IncludeHandler() = default;
    /// The text of that name; it is read to its end before endInclude() is called. Never null.
    virtual std::unique_ptr<std::istream> getInclude(const String& name) = 0;
    /// The text that getInclude() gave last, and that has not ended yet, has been parsed. Not
    /// called after a failure.
    virtual void endInclude() = 0;
};

/// The text breaks the language. getMessage() says how; lines and columns count from one, columns
/// in characters. Inside an included text the place is one of that text, and the message names it.
class ParseException : public blocxx::Exception {
public:
    ParseException(const char* file, int line, const String& message, size_t textLine,
                   size_t textColumn)
        : Exception(file, line, message.c_str()), m_textLine(textLine), m_textColumn(textColumn) {}

    size_t textLine() const noexcept { return m_textLine; }
    size_t textColumn() const noexcept { return m_textColumn; }

    const char* type() const noexcept override { return "ParseException"; }
    ParseException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;

private:
    size_t m_textLine;
    size_t m_textColumn;
};

/// Parses `text` into `privileges`, whose earlier contents go. Throws ParseException, and whatever
/// the handler throws; `privileges` is then as before.
void openwbem_privconfig_parse(const String& text, IncludeHandler& handler, Privileges& privileges);

}  // namespace OpenWBEM::PrivilegeConfig
