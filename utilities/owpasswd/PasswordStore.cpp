// SPDX-License-Identifier: Apache-2.0
#include "utilities/owpasswd/PasswordStore.hpp"

#include <poll.h>

#include <cerrno>
#include <chrono>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Secure.hpp"
#include "utilities/ownership/Adoption.hpp"

namespace OwPasswd {

using blocxx::Format;
using Credentials::PasswordFile;
namespace FileSystem = blocxx::FileSystem;

namespace {

// Another owpasswd has the lock for as long as it takes to write a small file.
constexpr std::chrono::seconds PATIENCE{30};
constexpr int PAUSE = 20;  // milliseconds

[[noreturn]] void failed(const char* attempt, const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot %1 \"%2\"", attempt, path));
}

/// A signal ends the wait.
blocxx::File takeLock(const String& path) {
    blocxx::File lock = FileSystem::openOrCreateFile(path);
    if (!lock && errno == ENOENT) {
        BLOCXX_THROW(
            blocxx::Exception,
            Format("the directory of the lock file \"%1\" is missing; kov-setup makes it", path));
    }
    if (!lock) {
        failed("open the lock file", path);
    }
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (lock.getOwnLock(blocxx::File::E_WRITE_LOCK, blocxx::File::E_DONT_WAIT) != 0) {
        if (errno != EAGAIN && errno != EACCES) {
            failed("lock", path);
        }
        if (std::chrono::steady_clock::now() > end) {
            BLOCXX_THROW(blocxx::Exception,
                         Format("another owpasswd holds \"%1\". Wait for its end, then run the "
                                "command again",
                                path));
        }
        blocxx::Interruption::check();
        ::poll(nullptr, 0, PAUSE);
    }
    return lock;
}

/// The new file, which is removed unless it was moved into its place.
class NewFile {
public:
    /// Removes what a killed run has left; that nobody else writes it now is the lock's matter.
    explicit NewFile(String path) : m_path(std::move(path)) {
        FileSystem::removeFile(m_path);
        m_file = FileSystem::createFile(m_path);
        if (!m_file) {
            failed("make the file", m_path);
        }
    }
    ~NewFile() {
        if (!m_done) {
            FileSystem::removeFile(m_path);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const blocxx::File& file() const noexcept { return m_file; }
    const String& path() const noexcept { return m_path; }

    void write(const String& content) {
        if (FileSystem::writeDurably(m_file, content) != FileSystem::WriteStep::DONE) {
            failed("write", m_path);
        }
    }
    void moveTo(const String& target) {
        if (!FileSystem::renameFile(m_path, target)) {
            failed("replace the file", target);
        }
        m_done = true;
    }

private:
    String m_path;
    blocxx::File m_file;
    bool m_done = false;
};

/// 1. Make the new file beside its place, give it to its readers, write and sync it. A run killed
///    here leaves a file that nothing uses; the next run replaces it, and kov-verify names it.
/// 2. Rename it: the commit point.
/// 3. Sync the directory, so that the rename survives a power failure.
void replace(const Layout::Tree& tree, const String& content) {
    NewFile file(tree.path(Layout::UNFINISHED_PASSWORD_FILE));
    if (tree.isLive()) {
        OwUtilities::adoptPasswordFile(file.path(), file.file(),
                                       blocxx::Secure::unprivilegedAccount(Layout::ACCOUNT));
    }
    file.write(content);
    file.moveTo(tree.path(Layout::PASSWORD_FILE));
    FileSystem::syncName(tree.path(Layout::PASSWORD_FILE));
}

}  // namespace

PasswordFile readPasswords(const Layout::Tree& tree) {
    try {
        return PasswordFile::read(tree.path(Layout::PASSWORD_FILE));
    } catch (const Credentials::PasswordFileException& e) {
        if (e.getErrorCode() != ENOENT) {
            throw;
        }
        return {};
    }
}

void changePasswords(const Layout::Tree& tree, const std::function<void(PasswordFile&)>& change) {
    const blocxx::File lock = takeLock(tree.path(Layout::PASSWORD_LOCK_FILE));
    PasswordFile passwords = readPasswords(tree);
    change(passwords);
    blocxx::Interruption::check();
    replace(tree, passwords.text());
}

}  // namespace OwPasswd
