// SPDX-License-Identifier: Apache-2.0
//
// Makes the n-th call on the files below a directory fail with EIO. The linker redirects the calls
// of this project's own code to the functions here; calls of other libraries are not affected.
#pragma once

#include <filesystem>

#include "blocxx/String.hpp"

namespace KOVNS2::Testing::FileFaults {

using blocxx::String;

/// How much a failing write writes.
enum class Write { NOTHING, HALF };

/// Makes the n-th call from now on (from 1) fail, among those that open, read, write, sync, close,
/// rename or remove a file below `directory`. When close fails, the descriptor is closed.
void failCall(unsigned n, const std::filesystem::path& directory, Write write = Write::NOTHING);
void failNothing();

/// The call that has failed since the last failCall(), and its file; empty when none has.
const String& failedCall();
const String& failedFile();

}  // namespace KOVNS2::Testing::FileFaults
