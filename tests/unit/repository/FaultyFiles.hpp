// SPDX-License-Identifier: Apache-2.0
//
// A file layer below SQLite that fails, or dies, at the n-th operation that changes or opens a
// file. It becomes SQLite's default layer before the repository's own is set up on top of it.
#pragma once

namespace KovTest::FaultyFiles {

/// A write that fails has written half, for FAIL_COMPLETE all of its bytes.
enum class Kind { FAIL_ONCE, FAIL_COMPLETE, FAIL_FOR_EVER, NO_SPACE, DIE, POWER_CUT };

/// Installs the layer; call it before the first repository is opened in this process.
void install();
/// From now on the n-th operation (from 1) and, except for FAIL_ONCE and FAIL_COMPLETE, those after
/// it fail. `seed` chooses what a power cut leaves.
void arm(Kind kind, int n, unsigned seed = 0);
/// Ends the faults. Returns whether one was reached.
bool disarm();

}  // namespace KovTest::FaultyFiles
