// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a privilege configuration, which may include parts of itself: they parse, or fail
// with the parser's own exception at a place within the text. Parsed privileges, written out as a
// text, parse to the same privileges.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "openwbem/mof/MOFRenderer.hpp"
#include "openwbem/privilege/PrivilegeConfig.hpp"

namespace {

using namespace OpenWBEM;
using namespace OpenWBEM::PrivilegeConfig;

/// Serves, as an included text, what follows the last occurrence of its name in the input. A name
/// with an escaped character need not occur. Names of what cannot be read to its end are served,
/// too.
class PartOfItself : public IncludeHandler {
public:
    explicit PartOfItself(const String& text) : m_text(text) {}

    std::unique_ptr<std::istream> getInclude(const String& name) override {
        if (name == "/dev/zero" || name == "/") {
            ++m_open;
            return std::make_unique<std::ifstream>(name);
        }
        const size_t at = m_text.rfind(name);
        if (at == String::npos) {
            return nullptr;
        }
        ++m_open;
        return std::make_unique<std::istringstream>(m_text.substr(at + name.size()));
    }
    void endInclude() override { --m_open; }

    int open() const { return m_open; }

private:
    const String& m_text;
    int m_open = 0;
};

/// `text` as an item: bare where possible, since quotes cannot hold what is not UTF-8; else quoted.
String item(const String& text) {
    const bool plain =
        !text.empty() && text[0] != '#' && text[0] != '@' &&
        std::all_of(text.begin(), text.end(), [](unsigned char c) {
            return c > ' ' && c != 0x7f && c != '"' && c != '\\' && c != '{' && c != '}';
        });
    return plain ? text : MOF::toMOFString(text);
}

void write(String& out, const String& keyword, const Array<CheckedCommand>& commands) {
    for (const CheckedCommand& command : commands) {
        out += keyword + " { " + item(command.path);
        for (const String& arg : command.args) {
            out += " " + item(arg);
        }
        out += " @ " + item(command.name) + " }\n";
    }
}

String written(const Privileges& p, bool hasUser) {
    String out = hasUser ? "unpriv_user { " + item(p.unpriv_user) + " }\n" : "";
    for (const auto& [keyword, paths] : p.paths) {
        out += keyword + " {";
        for (const String& path : paths) {
            out += " " + item(path);
        }
        out += " }\n";
    }
    write(out, "monitored_exec_check_args", p.monitored_exec_check_args);
    write(out, "user_exec_check_args", p.user_exec_check_args);
    return out;
}

void check(bool holds, const char* what, const String& text) {
    if (!holds) {
        std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const String input(reinterpret_cast<const char*>(data), size);
    PartOfItself handler(input);
    Privileges first;
    try {
        openwbem_privconfig_parse(input, handler, first);
    } catch (const ParseException& e) {
        const auto lines = static_cast<size_t>(std::count(input.begin(), input.end(), '\n')) + 1;
        check(first == Privileges(), "a failure changed the result", input);
        check(e.textLine() >= 1 && e.textLine() <= lines, "no such line", input);
        check(e.textColumn() >= 1 && e.textColumn() <= size + 1, "no such column", input);
        check(e.getMessage()[0] != '\0', "no message", input);
        return 0;
    }
    check(handler.open() == 0, "an include did not end", input);
    const String text = written(first, !first.unpriv_user.empty());
    PartOfItself none(text);
    Privileges second;
    try {
        openwbem_privconfig_parse(text, none, second);
    } catch (const ParseException& e) {
        check(false, e.getMessage(), text);
    }
    check(first == second, "not equal after writing", text);
    return 0;
}
