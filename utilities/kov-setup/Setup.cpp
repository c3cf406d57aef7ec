// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Setup.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "blocxx/Format.hpp"
#include "utilities/kov-setup/Account.hpp"
#include "utilities/kov-setup/Directories.hpp"
#include "utilities/kov-setup/RepositoryBuilder.hpp"
#include "utilities/kov-setup/SetupException.hpp"

namespace KovSetup {

using blocxx::Format;

namespace {

void refuse(const Format& why) {
    BLOCXX_THROW(SetupException, why.toString());
}

/// A directory that is removed with what is in it unless it was put into its final place.
class UnfinishedRepository {
public:
    explicit UnfinishedRepository(String path) : m_path(std::move(path)) {
        makePrivateDirectory(m_path);
    }
    ~UnfinishedRepository() {
        if (!m_done) {
            std::error_code ignored;  // the next run names what could not be removed
            std::filesystem::remove_all(m_path, ignored);
        }
    }
    UnfinishedRepository(const UnfinishedRepository&) = delete;
    UnfinishedRepository& operator=(const UnfinishedRepository&) = delete;

    /// Renames it; never over something that has the name.
    void moveTo(const String& target) {
        if (renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
            failWithErrno(Format("cannot rename \"%1\" to \"%2\"", m_path, target));
        }
        m_done = true;
    }

private:
    String m_path;
    bool m_done = false;
};

void checkPlaceIsFree(const Layout& layout) {
    if (isTaken(layout.repository())) {
        refuse(Format("there is a repository already: \"%1\". It was left as it is",
                      layout.repository()));
    }
    if (isTaken(layout.repositoryBackup())) {
        refuse(
            Format("an operation on the repository was interrupted and left it at \"%1\". Put it "
                   "back: mv \"%1\" \"%2\"",
                   layout.repositoryBackup(), layout.repository()));
    }
    if (isTaken(layout.unfinishedRepository())) {
        refuse(
            Format("an earlier kov-setup did not finish, or another one is running: \"%1\" is "
                   "there. When none is running, remove it and run kov-setup again",
                   layout.unfinishedRepository()));
    }
}

void checkMayRun(const Layout& layout) {
    if (layout.isLive() && geteuid() != 0) {
        refuse(
            Format("it must be run as root to set up this machine (--dest-dir makes a tree "
                   "elsewhere)"));
    }
}

/// 1. The repository is made beside its final place, committed and synced; a run that dies here
///    leaves a directory that nothing uses and that the next run names.
/// 2. One rename makes it the repository: before it there is none, after it there is all of it.
/// 3. The directories of both names are synced, so that the rename outlives a power failure.
void makeRepository(const Layout& layout, const std::optional<blocxx::Process::Identity>& account) {
    UnfinishedRepository repository(layout.unfinishedRepository());
    buildRepository(layout.unfinishedRepository(), layout);
    syncDirectory(layout.unfinishedRepository());
    if (account) {
        handOver(layout.unfinishedRepository(), *account);
    }
    repository.moveTo(layout.repository());
    syncDirectory(layout.dataDirectory());
    syncDirectory(layout.stateDirectory());
}

}  // namespace

void setUp(const Layout& layout) {
    checkMayRun(layout);
    checkPlaceIsFree(layout);
    std::optional<blocxx::Process::Identity> account;
    if (layout.isLive()) {
        account = ensureAccount();
    }
    makeDirectories(layout, account);
    writeDefaultConfig(layout.configFile());
    makeRepository(layout, account);
}

}  // namespace KovSetup
