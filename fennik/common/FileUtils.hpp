// SPDX-License-Identifier: Apache-2.0
//
// Files that the tool does not find by a path of its own, the external programs that it runs and
// its standard input, and how failures on files are thrown. Programs are looked for in fixed system
// directories only, never in the caller's PATH: the tool runs as root.
#pragma once

#include "blocxx/String.hpp"
#include "fennik/common/FennikException.hpp"

namespace KOVNS2 {

namespace KOVConstants {
/// The system's program directories, separated by colons.
extern const char* const EXECUTABLE_DEFAULT_PATH;
}  // namespace KOVConstants

namespace FileUtils {
/// The full path of the first executable file called `name` in the colon-separated directories of
/// `searchPath`; empty when there is none. A name with a slash in it is never found, and an empty
/// directory does not stand for the working directory.
blocxx::String locateExecutable(const blocxx::String& name, const blocxx::String& searchPath);

/// Everything on standard input to its end. Throws FileSystemException.
blocxx::String readStandardInput();

/// Throws FennikException `errorCode` with `message`, in which %1 stands for the path, and the
/// system's reason, as errno has it, for its cause.
[[noreturn]] void throwFileFailure(const char* message, const blocxx::String& path, int errorCode,
                                   CallSite place = CallSite::here());
}  // namespace FileUtils

}  // namespace KOVNS2
