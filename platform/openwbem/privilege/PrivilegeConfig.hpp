// SPDX-License-Identifier: Apache-2.0
//
// Parses privilege configurations. Such a text says as which user a monitored process runs, which
// paths it may use in which way, and which programs it may start with which arguments. Nothing here
// enforces it. docs/privilege-files.md describes the language.
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

/// The greatest size of a text together with everything that it includes, in bytes.
constexpr size_t MAX_TEXT_SIZE = size_t{4} * 1024 * 1024;
/// How deep includes may nest.
constexpr unsigned MAX_INCLUDE_DEPTH = 16;

/// A program that may be started with exactly these arguments: `path args... @ name`.
struct CheckedCommand {
    String path;
    StringArray args;
    String name;  ///< of the privilege file (monitored) or of the user (user) that it runs with

    friend bool operator==(const CheckedCommand&, const CheckedCommand&) = default;
};

/// The contents of a text, with its includes in their places.
struct Privileges {
    String unpriv_user;  ///< empty when the text names none
    /// The items of the path lists in their order, by keyword ("open_r", "stat" ...).
    std::map<String, StringArray, std::less<>> paths;
    Array<CheckedCommand> monitored_exec_check_args;
    Array<CheckedCommand> user_exec_check_args;

    friend bool operator==(const Privileges&, const Privileges&) = default;
};

/// Reads the texts that `include { name }` names. Its exceptions pass through the parser unchanged.
class IncludeHandler {
public:
    virtual ~IncludeHandler() = default;
    /// The text of that name, or null when there is none, which is a ParseException.
    virtual std::unique_ptr<std::istream> getInclude(const String& name) = 0;
    /// Called when the innermost text from getInclude() has been parsed. Not called after a
    /// failure.
    virtual void endInclude() = 0;
};

/// A text is not valid; getMessage() says why. Lines and columns count from one, columns in
/// characters. An error in an included text has its place there, and the message names that text.
class ParseException : public blocxx::Cloneable<ParseException> {
public:
    ParseException(const char* file, int line, const String& message, size_t textLine,
                   size_t textColumn)
        : Cloneable(file, line, message.c_str()), m_textLine(textLine), m_textColumn(textColumn) {}

    size_t textLine() const noexcept { return m_textLine; }
    size_t textColumn() const noexcept { return m_textColumn; }

    const char* type() const noexcept override { return "ParseException"; }

private:
    size_t m_textLine;
    size_t m_textColumn;
};

/// Replaces `privileges` by the contents of `text`. Throws ParseException and what the handler
/// throws; `privileges` is then unchanged.
void openwbem_privconfig_parse(const String& text, IncludeHandler& handler, Privileges& privileges);

}  // namespace OpenWBEM::PrivilegeConfig
