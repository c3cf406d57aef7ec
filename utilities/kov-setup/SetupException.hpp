// SPDX-License-Identifier: Apache-2.0
//
// What kov-setup fails with: one text for the operator, printed by main alone.
#pragma once

#include <cerrno>

#include "blocxx/Exception.hpp"

namespace KovSetup {

BLOCXX_DECLARE_EXCEPTION(Setup)

}  // namespace KovSetup
