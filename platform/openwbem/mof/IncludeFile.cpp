// SPDX-License-Identifier: Apache-2.0
//
// Files that a MOF text includes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace OpenWBEM::MOF {

namespace {

// A schema has well over a thousand files; each is opened, measured and read once.
String readFile(const String& path) {
    // O_NONBLOCK: opening a FIFO must not wait for its writer.
    const blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.getFileDescriptor(), &status) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot read \"" + path + "\"");
    }
    if (!S_ISREG(status.st_mode)) {
        BLOCXX_THROW(blocxx::FileSystemException,
                     "Cannot read \"" + path + "\": it is not a regular file");
    }
    // Room for the two bytes that the scanner wants behind the text, so that it stays where it is.
    String text;
    text.reserve(static_cast<size_t>(status.st_size) + 2);
    text.resize(static_cast<size_t>(status.st_size));
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
            ::read(file.getFileDescriptor(), text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot read \"" + path + "\"");
        }
        if (count == 0) {
            break;
        }
        done += static_cast<size_t>(count);
    }
    text.resize(done);
    return text;
}

}  // namespace

Source includeFile(const String& name, const String& includingSource) {
    String path = name;
    if (!name.empty() && name[0] != '/' && includingSource.find('/') != String::npos) {
        path = includingSource.substr(0, includingSource.rfind('/') + 1) + name;
    }
    return {path, readFile(path)};
}

}  // namespace OpenWBEM::MOF
