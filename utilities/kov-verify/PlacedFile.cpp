// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/PlacedFile.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "utilities/kov-verify/Commands.hpp"

namespace KovVerify {

using blocxx::Format;

namespace {

PlacedFile::Kind kindOf(mode_t mode) {
    switch (mode & S_IFMT) {
        case S_IFREG:
            return PlacedFile::Kind::FILE;
        case S_IFDIR:
            return PlacedFile::Kind::DIRECTORY;
        case S_IFLNK:
            return PlacedFile::Kind::LINK;
        default:
            return PlacedFile::Kind::OTHER;
    }
}

}  // namespace

PlacedFile::PlacedFile(String path) : m_path(std::move(path)) {
    struct stat status {};
    if (::lstat(blocxx::FileSystem::systemPath(m_path), &status) == 0) {
        m_kind = kindOf(status.st_mode);
        m_size = static_cast<size_t>(status.st_size);
    } else if (errno != ENOENT && errno != ENOTDIR) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot look at \"%1\"", m_path));
    }
}

String PlacedFile::problem() const {
    switch (m_kind) {
        case Kind::NOTHING:
            return Format("\"%1\" is missing", m_path);
        case Kind::DIRECTORY:
            return Format("\"%1\" is a directory and not a file", m_path);
        case Kind::LINK:
            return Format("\"%1\" is a symbolic link and not a file", m_path);
        default:
            return Format("\"%1\" is a pipe, a socket or a device and not a file", m_path);
    }
}

String PlacedFile::content(size_t limit) const {
    return blocxx::FileSystem::getFileContents(m_path, blocxx::FileSystem::NamedBy::US, limit);
}

bool PlacedFile::holds(const String& text) const {
    return isFile() && m_size == text.size() && content(text.size()) == text;
}

String PlacedFile::removal() const {
    return (m_kind == Kind::DIRECTORY ? "rm -r " : "rm -f ") + Commands::word(m_path);
}

// What is there is removed first: writing into it would follow a link, or change the file's other
// names.
String PlacedFile::replacement(const String& lines) const {
    const String first = isMissing() ? String() : removal() + " && ";
    return first + "printf '%s\\n' " + Commands::word(lines) + " > " + Commands::word(m_path);
}

StringArray namesIn(const String& directory) {
    StringArray names;
    std::error_code failure;
    for (std::filesystem::directory_iterator it(directory, failure), end; !failure && it != end;
         it.increment(failure)) {
        names.push_back(it->path().filename().string());
    }
    if (failure && failure != std::errc::no_such_file_or_directory &&
        failure != std::errc::not_a_directory) {
        errno = failure.value();
        BLOCXX_THROW_ERRNO(blocxx::Exception,
                           Format("cannot list the directory \"%1\"", directory));
    }
    std::ranges::sort(names);
    return names;
}

}  // namespace KovVerify
