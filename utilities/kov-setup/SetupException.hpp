// SPDX-License-Identifier: Apache-2.0
//
// A failure of kov-setup: one text for the operator, which main prints.
#pragma once

#include <cerrno>

#include "blocxx/Exception.hpp"

namespace KovSetup {

BLOCXX_DECLARE_EXCEPTION(Setup)

}  // namespace KovSetup
