// SPDX-License-Identifier: Apache-2.0
//
// How large the messages between client and daemon may be.
#pragma once

#include <cstddef>
#include <cstdint>

namespace OpenWBEM::RpcLimits {

/// The largest answer, in words of 8 bytes: 512 MiB, more than the largest object that a message
/// can hold. Checked before memory is taken.
inline constexpr uint64_t MAX_WORDS = uint64_t(64) << 20U;
/// The largest message from a peer that is not authorised: any call that a client of ours makes
/// fits, so that its user is told what is wrong.
inline constexpr size_t MAX_BYTES_STRANGER = size_t(512) << 10U;

/// The most objects in one wire::Storing.
inline constexpr unsigned MAX_OBJECTS = 4096;

/// The size of most calls and answers, in words.
inline constexpr unsigned USUAL_WORDS = 128;

/// The deepest nesting of pointers in a message. Calls are flat; the objects in them are messages
/// of their own.
inline constexpr int NESTING = 64;

}  // namespace OpenWBEM::RpcLimits
