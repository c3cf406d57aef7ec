// SPDX-License-Identifier: Apache-2.0
//
// Part of MOFCompiler: reads the files that a MOF text includes.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace OpenWBEM::MOF {

namespace {

constexpr off_t LARGEST_FILE = SourceText::MAX_SIZE;

[[noreturn]] void failReading(const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot read \"" + path + "\"");
}

[[noreturn]] void refuse(const String& path, const char* why) {
    BLOCXX_THROW(blocxx::FileSystemException, "Cannot read \"" + path + "\": " + why);
}

/// The whole file, which may have grown since its size was read.
String readText(blocxx::File& file, const String& path, size_t announced) {
    // Room for the two bytes that the scanner needs behind the text, so that adding them copies
    // nothing.
    String text;
    text.reserve(announced + 2);
    if (!blocxx::FileSystem::readAll(file, text,
                                     announced + blocxx::FileSystem::MAX_CONTENT_SIZE)) {
        failReading(path);
    }
    return text;
}

/// Opens, measures and reads the file once: a schema has well over a thousand files.
Source readFile(const String& path) {
    // O_NONBLOCK: opening a FIFO must not wait for its writer.
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.getFileDescriptor(), &status) != 0) {
        failReading(path);
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "it is not a regular file");
    }
    if (status.st_size > LARGEST_FILE) {
        refuse(path, "it is too large");
    }
    return {path,
            readText(file, path, static_cast<size_t>(status.st_size)),
            {status.st_dev, status.st_ino}};
}

}  // namespace

Source includeFile(const String& name, const String& includingSource) {
    String path = name;
    if (!name.empty() && name[0] != '/' && includingSource.find('/') != String::npos) {
        path = includingSource.substr(0, includingSource.rfind('/') + 1) + name;
    }
    return readFile(path);
}

}  // namespace OpenWBEM::MOF
