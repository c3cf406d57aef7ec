// SPDX-License-Identifier: Apache-2.0
//
// What the units of this room have in common in what they tell: their debug lines and how they
// fail.
#pragma once

#include "fennik/common/UnitLog.hpp"

namespace KOVNS2::StateLog {

/// The error code of a state file that does not hold a state.
inline constexpr int INVALID_STATE = 14;

inline UnitLog log() {
    return UnitLog("");
}

}  // namespace KOVNS2::StateLog
