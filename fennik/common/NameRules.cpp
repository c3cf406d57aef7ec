// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/NameRules.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Utf8.hpp"

namespace KOVNS2::NameRules {

using blocxx::String;

namespace {

constexpr const char* CONTROL = "has a control character in it";

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

/// The control characters that XML can represent.
bool isHeldByXml(char c) {
    return std::string_view("\t\n\r\x7f").find(c) != std::string_view::npos;
}

/// U+FFFE and U+FFFF, which XML cannot represent.
bool hasNonCharacter(const String& name) {
    return name.find("\xEF\xBF\xBE") != String::npos || name.find("\xEF\xBF\xBF") != String::npos;
}

}  // namespace

String problemOf(const String& name) {
    if (name.empty()) {
        return "is empty";
    }
    if (blocxx::Utf8::findInvalid(name) != String::npos) {
        return "is not UTF-8; use the encoding of a UTF-8 locale";
    }
    if (WHITE_SPACE.find(name.front()) != std::string_view::npos ||
        WHITE_SPACE.find(name.back()) != std::string_view::npos) {
        return "begins or ends with white space";
    }
    if (std::ranges::any_of(name, [](char c) { return isControl(c) && !isHeldByXml(c); })) {
        return CONTROL;
    }
    return hasNonCharacter(name) ? "has a code in it that is no character" : "";
}

// The allowed users file is one line, and the daemon ignores users with a control character.
String problemOfUser(const String& name) {
    const String problem = problemOf(name);
    return problem.empty() && std::ranges::any_of(name, isControl) ? CONTROL : problem;
}

void checkUsers(const blocxx::StringArray& userNames) {
    for (const String& user : userNames) {
        if (const String problem = problemOfUser(user); !problem.empty()) {
            BLOCXX_THROW(NameException, blocxx::Format("the user name \"%1\" %2", user, problem));
        }
    }
}

}  // namespace KOVNS2::NameRules
