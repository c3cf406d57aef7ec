// SPDX-License-Identifier: Apache-2.0
//
// Finds external programs, and throws failures on files. Programs are looked up in fixed system
// directories, never in the caller's PATH, because the tool runs as root.
#pragma once

#include "blocxx/String.hpp"
#include "fennik/common/FennikException.hpp"

namespace KOVNS2 {

namespace KOVConstants {
/// The system's program directories, separated by colons.
extern const char* const EXECUTABLE_DEFAULT_PATH;
}  // namespace KOVConstants

namespace FileUtils {
/// The path of the first executable file `name` in the colon-separated directories of `searchPath`;
/// empty when there is none. A name with a slash is never found. An empty directory is skipped; it
/// does not mean the working directory.
blocxx::String locateExecutable(const blocxx::String& name, const blocxx::String& searchPath);

/// Throws FennikException `errorCode` with `message`, in which %1 is replaced by `path`. Its cause
/// is the reason that errno gives.
[[noreturn]] void throwFileFailure(const char* message, const blocxx::String& path, int errorCode,
                                   CallSite place = CallSite::here());
}  // namespace FileUtils

}  // namespace KOVNS2
