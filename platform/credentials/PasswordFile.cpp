// SPDX-License-Identifier: Apache-2.0
#include "credentials/PasswordFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "credentials/Hash.hpp"

namespace Credentials {

using blocxx::Format;

namespace {

constexpr mode_t WRITABLE_FOR_OTHERS = S_IWGRP | S_IWOTH;

[[noreturn]] void refuse(const String& why) {
    BLOCXX_THROW(PasswordFileException, why);
}

/// What HTTP's Basic authentication and a line of the file can carry.
bool canBeUser(std::string_view name) {
    return !name.empty() && name.size() <= PasswordFile::MAX_USER_SIZE && name.front() != '#' &&
           std::none_of(name.begin(), name.end(),
                        [](unsigned char c) { return c <= 0x20 || c == 0x7f || c == ':'; });
}

void checkEntry(std::string_view user, std::string_view hash) {
    if (!canBeUser(user)) {
        refuse("what stands before \":\" is not the name of a user");
    }
    if (!isHash(hash)) {
        refuse("what stands behind \":\" is not a hash that owpasswd makes");
    }
}

[[noreturn]] void refuseSize() {
    refuse(Format("it is larger than %1 bytes", PasswordFile::MAX_SIZE));
}

bool isCommentOrBlank(std::string_view line) {
    const size_t first = line.find_first_not_of(" \t\r");
    return first == std::string_view::npos || line[first] == '#';
}

[[noreturn]] void cannotRead(const String& path) {
    BLOCXX_THROW_ERRNO(PasswordFileException, Format("cannot read the password file \"%1\"", path));
}

/// Null for a file that only its owner, root or this process's user, can have written.
const char* problemOf(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    if (status.st_uid != 0 && status.st_uid != ::geteuid()) {
        return "it does not belong to root";
    }
    // With an access list, the bits of the group are what the list grants at most.
    return (status.st_mode & WRITABLE_FOR_OTHERS) == 0 ? nullptr
                                                       : "others than its owner may write it";
}

String contentOf(const String& path) {
    blocxx::File file(::open(blocxx::FileSystem::systemPath(path),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.getFileDescriptor(), &status) != 0) {
        cannotRead(path);
    }
    if (const char* problem = problemOf(status)) {
        refuse(problem);
    }
    String content;
    if (blocxx::FileSystem::readAll(file, content, PasswordFile::MAX_SIZE)) {
        return content;
    }
    errno == EFBIG ? refuseSize() : cannotRead(path);
}

}  // namespace

PasswordFile PasswordFile::parse(std::string_view text) {
    if (text.size() > MAX_SIZE) {
        refuseSize();
    }
    PasswordFile file;
    for (size_t number = 1; !text.empty(); ++number) {
        const size_t end = text.find('\n');
        try {
            file.add(text.substr(0, end));
        } catch (const PasswordFileException& e) {
            refuse(Format("line %1: %2", number, e.getMessage()));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return file;
}

PasswordFile PasswordFile::read(const String& path) {
    try {
        return parse(contentOf(path));
    } catch (const PasswordFileException& e) {
        if (e.getErrorCode() != blocxx::Exception::UNKNOWN_ERROR_CODE) {
            throw;
        }
        refuse(Format("cannot use the password file \"%1\": %2", path, e.getMessage()));
    }
}

void PasswordFile::add(std::string_view line) {
    if (m_lines.size() == MAX_LINES) {
        refuse(Format("there are more than %1 lines", MAX_LINES));
    }
    if (isCommentOrBlank(line)) {
        m_lines.push_back({{}, String(line)});
        return;
    }
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        refuse("there is no \":\"");
    }
    const String user(line.substr(0, colon));
    const String hash(line.substr(colon + 1));
    checkEntry(user, hash);
    if (!m_hashes.emplace(user, hash).second) {
        refuse("an earlier line has the same user");
    }
    m_lines.push_back({user, String(line)});
}

const String* PasswordFile::hashOf(const String& user) const {
    const auto found = m_hashes.find(user);
    return found == m_hashes.end() ? nullptr : &found->second;
}

StringArray PasswordFile::users() const {
    StringArray users;
    for (const auto& [user, hash] : m_hashes) {
        users.push_back(user);
    }
    return users;
}

void PasswordFile::requireUserName(const String& user) {
    if (!canBeUser(user)) {
        refuse(
            Format("\"%1\" cannot be the name of a user here: it is empty, longer than %2 bytes, "
                   "begins with \"#\", or has a blank, a colon or a control character in it",
                   user, MAX_USER_SIZE));
    }
}

void PasswordFile::set(const String& user, const String& hash) {
    checkEntry(user, hash);
    const String line = user + ":" + hash;
    const auto found = std::ranges::find(m_lines, user, &Line::user);
    if (found != m_lines.end()) {
        found->text = line;
        m_hashes[user] = hash;
        return;
    }
    if (text().size() + line.size() + 1 > MAX_SIZE) {
        refuse(Format("it would be larger than %1 bytes", MAX_SIZE));
    }
    add(line);
}

bool PasswordFile::remove(const String& user) {
    std::erase_if(m_lines,
                  [&](const Line& line) { return !line.user.empty() && line.user == user; });
    return m_hashes.erase(user) != 0;
}

String PasswordFile::text() const {
    String text;
    for (const Line& line : m_lines) {
        text += line.text + "\n";
    }
    return text;
}

}  // namespace Credentials
