// SPDX-License-Identifier: Apache-2.0
//
// The search for external programs.
#include "fennik/undo/FileUtils.hpp"

#include "blocxx/FileSystem.hpp"

namespace KOVNS2 {

using blocxx::String;

const char* const KOVConstants::EXECUTABLE_DEFAULT_PATH = "/bin:/usr/bin:/sbin:/usr/sbin";

String FileUtils::locateExecutable(const String& name, const String& searchPath) {
    if (name.empty() || name.find('/') != String::npos) {
        return {};
    }
    for (const String& directory : blocxx::tokenize(searchPath, ":")) {
        const String path = directory + "/" + name;
        if (blocxx::FileSystem::canExecute(path)) {
            return path;
        }
    }
    return {};
}

}  // namespace KOVNS2
