// SPDX-License-Identifier: Apache-2.0
//
// What the daemon gives up for good once it serves, so that whoever takes it over through a
// client's request has little in hand. Each lock is independent of the others, and of who starts
// the daemon.
#pragma once

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;
using blocxx::StringArray;

/// No program that this process starts has more rights than it. Throws blocxx::Exception.
void renounceNewPrivileges();

/// Leaves the process no more than serving takes: it may write below the `writable` directories
/// alone, start no program, and use none of the calls that change the machine. It may still look
/// users up, whichever modules the system has for that. What the kernel cannot lock is reported in
/// the log, and stays open.
void confine(const StringArray& writable);

}  // namespace OwCimomd
