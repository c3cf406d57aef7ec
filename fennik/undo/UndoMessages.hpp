// SPDX-License-Identifier: Apache-2.0
//
// The fixed frame of every message about an undo step that failed, and the way it is logged. For
// the units that hold undo steps only.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::UndoMessages {

inline constexpr const char* HEAD =
    "The operation failed, and restoration to the previous state has also failed.\n";
inline constexpr const char* LEAD_IN =
    "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you should\n";
/// The same without the newline before it.
inline constexpr const char* LEAD_IN_LINE = LEAD_IN + 1;

/// Logs at error level. The message has reached standard error even when the debug log cannot be
/// written: that must not keep the remaining undo steps from running.
void logUndoFailure(const blocxx::String& message) noexcept;

}  // namespace KOVNS2::UndoMessages
