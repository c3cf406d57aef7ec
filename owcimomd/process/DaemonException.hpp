// SPDX-License-Identifier: Apache-2.0
//
// Why the daemon cannot start or go on.
#pragma once

#include "blocxx/Exception.hpp"

namespace OwCimomd {

BLOCXX_DECLARE_EXCEPTION(Daemon)

}  // namespace OwCimomd
