// SPDX-License-Identifier: Apache-2.0
//
// Which names of products and users can be registered: those that a saved state gives back as they
// are and, for users, that a line of the daemon's configuration can hold.
#pragma once

#include "blocxx/Exception.hpp"

namespace KOVNS2 {

/// A name that cannot be used; the message is what is wrong with it.
BLOCXX_DECLARE_EXCEPTION(Name)

namespace NameRules {

/// What restoring a saved state takes off both ends of a name.
inline constexpr std::string_view WHITE_SPACE = " \t\n\r\v\f";

/// What is wrong with the name, as the end of a sentence: "is empty". Empty when nothing is.
blocxx::String problemOf(const blocxx::String& name);

/// The same for the name of a user, who may have no control character at all in it.
blocxx::String problemOfUser(const blocxx::String& name);

/// Throws NameException for the first user name with which something is wrong.
void checkUsers(const blocxx::StringArray& userNames);

}  // namespace NameRules
}  // namespace KOVNS2
