// SPDX-License-Identifier: Apache-2.0
//
// The rules for names of products and users: a saved state must restore them unchanged, and a user
// name must fit on a line of the daemon's configuration.
#pragma once

#include "blocxx/Exception.hpp"

namespace KOVNS2 {

/// A name that cannot be used. The message says what is wrong with it.
BLOCXX_DECLARE_EXCEPTION(Name)

namespace NameRules {

/// The characters that restoring a saved state strips from both ends of a name.
inline constexpr std::string_view WHITE_SPACE = " \t\n\r\v\f";

/// What is wrong with the name, as the end of a sentence such as "is empty"; empty for a good name.
blocxx::String problemOf(const blocxx::String& name);

/// The same for a user name, in which every control character is wrong.
blocxx::String problemOfUser(const blocxx::String& name);

/// Throws NameException for the first user name that breaks a rule.
void checkUsers(const blocxx::StringArray& userNames);

}  // namespace NameRules
}  // namespace KOVNS2
