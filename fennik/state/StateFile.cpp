// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateFile.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/undo/FennikException.hpp"
#include "openwbem/xml/XMLParserDOM.hpp"

namespace KOVNS2::StateFile {

using blocxx::File;
using blocxx::Format;
using blocxx::String;
using OpenWBEM::XMLNode;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr int CANNOT_CREATE = 36;
constexpr int CANNOT_OPEN = 37;

[[noreturn]] void failCreating(const String& fileName, int errnum) {
    const blocxx::FileSystemException reason(__FILE__, __LINE__, std::strerror(errnum), errnum);
    const String message = Format("Failed to create state file: \"%1\"", fileName);
    throw FennikException(__FILE__, __LINE__, message.c_str(), CANNOT_CREATE, &reason);
}

/// The state may be written into a directory of others, so a link in its place is not followed.
File openTruncated(const String& fileName) {
    constexpr mode_t MODE = 0666;
    return File(::open(fileName.c_str(),
                       O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, MODE));
}

/// False with errno set.
bool writeAll(File& file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = file.write(text.data(), text.size());
        if (written < 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

/// Only regular files can be put on the disk.
bool flush(File& file) {
    return file.flush() == 0 || errno == EINVAL || errno == EROFS;
}

}  // namespace

// The text is complete before the file is touched, so that only the disk can interrupt the writing.
void write(const XMLNode& root, const String& fileName) {
    std::ostringstream out;
    out << StateFormat::HEADER;
    root.printNode(out);
    const bool isNew = !FileSystem::exists(fileName);
    File file = openTruncated(fileName);
    if (!file) {
        failCreating(fileName, errno);
    }
    if (!writeAll(file, out.view()) || !flush(file) || file.close() != 0) {
        const int errnum = errno;
        if (isNew) {
            FileSystem::removeFile(fileName);
        }
        failCreating(fileName, errnum);
    }
}

String read(const String& fileName) {
    try {
        return FileSystem::getFileContents(fileName, OpenWBEM::XMLParserDOM::MAX_DOCUMENT_SIZE);
    } catch (const blocxx::FileSystemException& e) {
        const String message = Format("Failed to open state file: \"%1\"", fileName);
        throw FennikException(__FILE__, __LINE__, message.c_str(), CANNOT_OPEN, &e);
    }
}

}  // namespace KOVNS2::StateFile
