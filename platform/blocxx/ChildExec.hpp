// SPDX-License-Identifier: Apache-2.0
//
// Private to Process: turns a forked child into the program that it is to run. It makes only
// async-signal-safe calls; everything they need was prepared before the fork.
#pragma once

#include <cstdint>
#include <optional>

#include "blocxx/Process.hpp"

namespace blocxx {

/// Why a child could not become the program.
struct ChildFailure {
    const char* step;  ///< a literal, which the parent has at the same address
    /// As wide as the pointer, so that no padding goes through the pipe.
    intptr_t errnum;
};

struct ChildPlan {
    char* const* argv;
    char* const* environment;
    std::optional<Process::Identity> identity;
    bool asAtBoot;
    int input;      ///< becomes standard input
    int output;     ///< becomes standard output and error
    int errorPipe;  ///< takes a ChildFailure; closed by a successful exec
};

/// Becomes the program, or reports a ChildFailure and ends the child. The descriptors of the plan
/// must be above 2 and all signals blocked.
[[noreturn]] void execProgram(const ChildPlan& plan) noexcept;

}  // namespace blocxx
