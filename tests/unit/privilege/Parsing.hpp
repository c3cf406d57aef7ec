// SPDX-License-Identifier: Apache-2.0
//
// Parsing privilege texts in tests: includes come from a map, and failures are values.
#pragma once

#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "openwbem/privilege/PrivilegeConfig.hpp"

namespace OpenWBEM::PrivilegeConfig {

/// Serves included texts from a map by name, and records the calls.
class MapIncludes : public IncludeHandler {
public:
    explicit MapIncludes(std::map<String, String> texts = {}) : m_texts(std::move(texts)) {}

    std::unique_ptr<std::istream> getInclude(const String& name) override {
        calls.push_back("get " + name);
        const auto text = m_texts.find(name);
        if (text == m_texts.end()) {
            throw std::out_of_range("no text " + name);
        }
        return std::make_unique<std::istringstream>(text->second);
    }
    void endInclude() override { calls.emplace_back("end"); }

    StringArray calls;

private:
    std::map<String, String> m_texts;
};

inline Privileges parsed(const String& text, std::map<String, String> includes = {}) {
    MapIncludes handler(std::move(includes));
    Privileges result;
    openwbem_privconfig_parse(text, handler, result);
    return result;
}

/// "LINE:COLUMN: MESSAGE" of the failure to parse, or "parsed".
inline String errorOf(const String& text, std::map<String, String> includes = {}) {
    try {
        parsed(text, std::move(includes));
        return "parsed";
    } catch (const ParseException& e) {
        return std::to_string(e.textLine()) + ":" + std::to_string(e.textColumn()) + ": " +
               e.getMessage();
    }
}

inline void PrintTo(const Privileges& p, std::ostream* out) {
    *out << "user " << p.unpriv_user;
    for (const auto& [keyword, paths] : p.paths) {
        *out << "\n" << keyword << ":";
        for (const String& path : paths) {
            *out << " [" << path << "]";
        }
    }
    for (const auto* commands : {&p.monitored_exec_check_args, &p.user_exec_check_args}) {
        for (const CheckedCommand& command : *commands) {
            *out << "\n"
                 << (commands == &p.user_exec_check_args ? "user " : "monitored ") << command.path;
            for (const String& arg : command.args) {
                *out << " [" << arg << "]";
            }
            *out << " @ " << command.name;
        }
    }
}

}  // namespace OpenWBEM::PrivilegeConfig
