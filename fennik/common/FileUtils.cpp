// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/FileUtils.hpp"

#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

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

void FileUtils::throwFileFailure(const char* message, const String& path, int errorCode,
                                 CallSite place) {
    const int errnum = errno;
    const blocxx::FileSystemException reason(place.file, place.line, std::strerror(errnum), errnum);
    throw FennikException(blocxx::Format(message, path), errorCode, &reason, place);
}

}  // namespace KOVNS2
