// SPDX-License-Identifier: Apache-2.0
#include "openwbem/privilege/Keywords.hpp"

#include <algorithm>

namespace OpenWBEM::PrivilegeConfig {

namespace {

struct Keyword {
    std::string_view word;
    Form form;
};

// Path lists have the names of the POSIX calls that they allow. open has three, one for each access
// mode.
constexpr Keyword KEYWORDS[] = {
    {"unpriv_user", Form::ONE_USER},
    {"include", Form::ONE_INCLUDE},
    {"open_r", Form::PATHS},
    {"open_w", Form::PATHS},
    {"open_rw", Form::PATHS},
    {"read_dir", Form::PATHS},
    {"stat", Form::PATHS},
    {"readlink", Form::PATHS},
    {"mkdir", Form::PATHS},
    {"rmdir", Form::PATHS},
    {"link", Form::PATHS},
    {"symlink", Form::PATHS},
    {"unlink", Form::PATHS},
    {"rename", Form::PATHS},
    {"chmod", Form::PATHS},
    {"chown", Form::PATHS},
    {"monitored_exec_check_args", Form::MONITORED_COMMANDS},
    {"user_exec_check_args", Form::USER_COMMANDS},
};

}  // namespace

std::optional<Form> findKeyword(std::string_view word) noexcept {
    const auto* found =
        std::ranges::find_if(KEYWORDS, [&](const Keyword& known) { return known.word == word; });
    return found == std::end(KEYWORDS) ? std::nullopt : std::optional(found->form);
}

blocxx::String listKeywords() {
    blocxx::String text;
    for (const Keyword& keyword : KEYWORDS) {
        text += (text.empty() ? "" : " ") + blocxx::String(keyword.word);
    }
    return text;
}

}  // namespace OpenWBEM::PrivilegeConfig
