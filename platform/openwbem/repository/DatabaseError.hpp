// SPDX-License-Identifier: Apache-2.0
//
// Turns failures of the repository file into CIMException FAILED, which says what was attempted,
// and names the file, the reason and the remedy.
#pragma once

#include <cstdint>
#include <string_view>

#include "blocxx/String.hpp"

namespace OpenWBEM::DatabaseError {

using blocxx::String;

/// Throws for an SQLite result code; std::bad_alloc when memory is short.
[[noreturn]] void raise(int code, int systemError, const String& file, const char* attempt);
/// The same when opening failed: looks at the path and the file's header for what is wrong.
[[noreturn]] void raiseForOpening(int code, int systemError, const String& directory,
                                  const String& file, std::string_view header);
[[noreturn]] void raiseForNewerFormat(const String& file, int64_t version);
[[noreturn]] void raiseForOlderFormat(const String& file, int64_t version);
[[noreturn]] void raiseForForeignFile(const String& file);
[[noreturn]] void raiseForSchema(const String& file, const String& deviation);

}  // namespace OpenWBEM::DatabaseError
