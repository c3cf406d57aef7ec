// SPDX-License-Identifier: Apache-2.0
//
// Finding the external programs that the tool runs. Only fixed system directories are searched,
// never the caller's PATH: the tool runs as root.
#pragma once

#include "blocxx/String.hpp"

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
}  // namespace FileUtils

}  // namespace KOVNS2
