// SPDX-License-Identifier: Apache-2.0
//
// What kov-setup fails with: one text for the operator, printed by main alone.
#pragma once

#include <cerrno>

#include "blocxx/Exception.hpp"

namespace KovSetup {

BLOCXX_DECLARE_EXCEPTION(Setup)

/// Throws SetupException with the text and what the system says of the current errno.
[[noreturn]] inline void failWithErrno(const blocxx::String& attempt) {
    BLOCXX_THROW_ERRNO(SetupException, attempt);
}

}  // namespace KovSetup
