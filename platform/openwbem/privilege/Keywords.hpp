// SPDX-License-Identifier: Apache-2.0
//
// The words that begin a statement.
#pragma once

#include <optional>
#include <string_view>

#include "blocxx/String.hpp"

namespace OpenWBEM::PrivilegeConfig {

/// The form of a statement's list.
enum class Form { ONE_USER, ONE_INCLUDE, PATHS, MONITORED_COMMANDS, USER_COMMANDS };

/// The form of the statements that `word` begins; none when it is not a keyword.
std::optional<Form> findKeyword(std::string_view word) noexcept;

/// All keywords, for messages.
blocxx::String listKeywords();

}  // namespace OpenWBEM::PrivilegeConfig
