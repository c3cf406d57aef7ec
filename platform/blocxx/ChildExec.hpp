// SPDX-License-Identifier: Apache-2.0
//
// Private to Process: the way of a forked child to the program that it becomes. Only
// async-signal-safe calls are made, everything they need was prepared before the fork.
#pragma once

#include <optional>

#include "blocxx/Process.hpp"

namespace blocxx {

/// What stopped a child on its way.
struct ChildFailure {
    const char* step;  ///< a literal; the child shares the parent's image
    int errnum;
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
/// are above 2. All signals are blocked on entry.
[[noreturn]] void becomeProgram(const ChildPlan& plan) noexcept;

}  // namespace blocxx
