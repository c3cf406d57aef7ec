// SPDX-License-Identifier: Apache-2.0
//
// Builds a message from a template with numbered placeholders, %1 to %9. Placeholders in arguments
// are not replaced. "%%" gives one percent sign; a placeholder without an argument stays as it is.
#pragma once

#include <concepts>
#include <sstream>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

class Format {
public:
    template <class... Args>
    explicit Format(std::string_view pattern, const Args&... args)
        : m_text(substitute(pattern, {toText(args)...})) {}

    const String& toString() const noexcept { return m_text; }
    const char* c_str() const noexcept { return m_text.c_str(); }
    operator String() const { return m_text; }  // NOLINT(google-explicit-constructor)

private:
    static String substitute(std::string_view pattern, const StringArray& args);

    template <class T>
    static String toText(const T& arg) {
        if constexpr (std::convertible_to<const T&, std::string_view>) {
            return String(std::string_view(arg));
        } else {
            std::ostringstream out;
            out << arg;
            return std::move(out).str();
        }
    }

    String m_text;
};

std::ostream& operator<<(std::ostream& out, const Format& message);

}  // namespace blocxx
