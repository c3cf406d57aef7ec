// SPDX-License-Identifier: Apache-2.0
//
// A function that the command line offers but that this version does not have yet.
#pragma once

#include "blocxx/Exception.hpp"

namespace KOVNS2 {

BLOCXX_DECLARE_EXCEPTION(NotBuiltYet)

}  // namespace KOVNS2
