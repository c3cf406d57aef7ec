// SPDX-License-Identifier: Apache-2.0
//
// Any text as a password file: it is read, or refused with a line that the text has. What is read
// is written so that it parses to the same users and hashes, also after a change.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "credentials/Hash.hpp"
#include "credentials/PasswordFile.hpp"

namespace {

using namespace Credentials;

const String HASH = "$y$j9T$......................$" + String(43, '.');

void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

void checkEqual(const PasswordFile& first, const PasswordFile& second) {
    check(first.users() == second.users(), "other users after writing");
    for (const String& user : first.users()) {
        check(!user.empty() && user.find_first_of(":\n") == String::npos, "no name of a user");
        check(isHash(*first.hashOf(user)), "no hash");
        check(*first.hashOf(user) == *second.hashOf(user), "another hash after writing");
    }
}

/// Changes the last user, takes the first one away and adds another, if the limits allow it.
void change(PasswordFile& file) {
    const StringArray users = file.users();
    if (!users.empty()) {
        file.set(users.back(), HASH);
        check(*file.hashOf(users.back()) == HASH, "a user was not changed");
        check(file.remove(users.front()), "a user was not there");
        check(file.hashOf(users.front()) == nullptr, "a removed user is there");
    }
    try {
        file.set("added", HASH);
        check(file.hashOf("added") != nullptr, "an added user is missing");
    } catch (const PasswordFileException& e) {
        check(e.getMessage()[0] != '\0', "no message");
    }
}

/// A name that is allowed can be added and is read again.
void checkName(const String& name) {
    try {
        PasswordFile::requireUserName(name);
    } catch (const PasswordFileException& e) {
        check(e.getMessage()[0] != '\0', "no message");
        return;
    }
    PasswordFile file;
    file.set(name, HASH);
    check(PasswordFile::parse(file.text()).hashOf(name) != nullptr, "a name was lost");
}

String refusalOf(const String& path) {
    try {
        PasswordFile::read(path);
        return {};
    } catch (const PasswordFileException& e) {
        return e.getMessage();
    }
}

/// One file for all inputs.
class StoredFile {
public:
    StoredFile() {
        check(::mkdtemp(m_directory.data()) != nullptr, "no temporary directory");
        check(!refusalOf(m_directory).empty(), "a directory was read");
        check(!refusalOf(path()).empty(), "a missing file was read");
    }
    ~StoredFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    StoredFile(const StoredFile&) = delete;
    StoredFile& operator=(const StoredFile&) = delete;

    void write(std::string_view text) const {
        std::ofstream(path(), std::ios::binary) << text;
        std::filesystem::permissions(path(), std::filesystem::perms::owner_all);
    }
    String path() const { return m_directory + "/passwords"; }

private:
    std::string m_directory =
        (std::filesystem::temp_directory_path() / "password-fuzz-XXXXXX").string();
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const StoredFile stored;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    stored.write(input);
    checkName(String(input));
    PasswordFile file;
    try {
        file = PasswordFile::parse(input);
    } catch (const PasswordFileException& e) {
        int line = 0;
        check(std::sscanf(e.getMessage(), "line %d: ", &line) == 1, "no line");
        check(line >= 1 && line <= std::count(input.begin(), input.end(), '\n') + 1,
              "no such line");
        check(refusalOf(stored.path()).ends_with(e.getMessage()), "another refusal of the file");
        return 0;
    }
    checkEqual(file, PasswordFile::read(stored.path()));
    checkEqual(file, PasswordFile::parse(file.text()));
    change(file);
    checkEqual(file, PasswordFile::parse(file.text()));
    return 0;
}
