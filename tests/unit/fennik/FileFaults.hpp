// SPDX-License-Identifier: Apache-2.0
//
// Makes the n-th call on the files of a directory fail, as the system would fail it. The program is
// linked so that the calls of this project's own code come by here first; those of other libraries
// do not.
#pragma once

#include <filesystem>

#include "blocxx/String.hpp"

namespace KOVNS2::Testing::FileFaults {

using blocxx::String;

/// What becomes of a write that fails.
enum class Write { NOTHING, HALF };

/// Only the n-th call from now on fails, counted from 1, among those that open, read, write, sync,
/// close, rename or remove a file below `directory`. A descriptor whose close fails is closed.
void failCall(unsigned n, const std::filesystem::path& directory, Write write = Write::NOTHING);
void failNothing();

/// The call that has failed since failures were last asked for, and its file; empty when none has.
const String& failedCall();
const String& failedFile();

}  // namespace KOVNS2::Testing::FileFaults
