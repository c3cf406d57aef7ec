// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Setup.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "openwbem/repository/CIMRepository.hpp"
#include "utilities/common/DaemonPause.hpp"
#include "utilities/common/Repository.hpp"
#include "utilities/kov-setup/Account.hpp"
#include "utilities/kov-setup/Directories.hpp"
#include "utilities/kov-setup/RepositoryBuilder.hpp"
#include "utilities/ownership/Adoption.hpp"

namespace KovSetup {

using blocxx::Format;
using blocxx::StringArray;

namespace {

void refuse(const Format& why) {
    BLOCXX_THROW(blocxx::Exception, why.toString());
}

/// A directory that is removed, with its content, unless it was moved into its final place.
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

    /// Renames it. Throws blocxx::Exception, also when `target` exists.
    void moveTo(const String& target) {
        if (renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
            BLOCXX_THROW_ERRNO(blocxx::Exception,
                               Format("cannot rename \"%1\" to \"%2\"", m_path, target));
        }
        m_done = true;
    }

private:
    String m_path;
    bool m_done = false;
};

void checkIsDirectory(const String& path) {
    if (std::filesystem::symlink_status(path.c_str()).type() !=
        std::filesystem::file_type::directory) {
        refuse(Format("\"%1\" is not a directory. Move it away and run kov-setup again", path));
    }
}

void checkPlaceIsFree(const Layout::Tree& tree) {
    if (isTaken(tree.path(Layout::REPOSITORY_BACKUP))) {
        refuse(
            Format("an operation on the repository was interrupted and left it at \"%1\". Put it "
                   "back: mv \"%1\" \"%2\"",
                   tree.path(Layout::REPOSITORY_BACKUP), tree.path(Layout::REPOSITORY)));
    }
    if (isTaken(tree.path(Layout::UNFINISHED_REPOSITORY))) {
        refuse(
            Format("an earlier kov-setup did not finish, or another one is running: \"%1\" is "
                   "there. When none is running, remove it and run kov-setup again",
                   tree.path(Layout::UNFINISHED_REPOSITORY)));
    }
}

void append(StringArray& all, const StringArray& more) {
    all.insert(all.end(), more.begin(), more.end());
}

void checkMayRun(const Layout::Tree& tree) {
    if (tree.isLive() && geteuid() != 0) {
        refuse(
            Format("it must be run as root to set up this machine (--dest-dir makes a tree "
                   "elsewhere)"));
    }
}

/// 1. Make the repository beside its final place, commit and sync it. A run killed here leaves a
///    directory that nothing uses; the next run refuses to start and names it.
/// 2. Rename it: the commit point.
/// 3. Sync the directories of both names, so that the rename survives a power failure.
void makeRepository(const Layout::Tree& tree, const Schema& schema,
                    const std::optional<blocxx::Process::Identity>& account) {
    UnfinishedRepository repository(tree.path(Layout::UNFINISHED_REPOSITORY));
    buildRepository(tree.path(Layout::UNFINISHED_REPOSITORY), schema);
    blocxx::FileSystem::syncEntries(tree.path(Layout::UNFINISHED_REPOSITORY));
    if (account) {
        handOver(tree.path(Layout::UNFINISHED_REPOSITORY), *account);
    }
    repository.moveTo(tree.path(Layout::REPOSITORY));
    blocxx::FileSystem::syncEntries(tree.path(Layout::DATA_DIRECTORY));
    blocxx::FileSystem::syncEntries(tree.path(Layout::STATE_DIRECTORY));
}

/// Whether the daemon serves a repository that is up to date.
bool isServedUpToDate(const Schema& schema) {
    const auto served = OwUtilities::Repository::open(String());
    return findDifferences(*served->handle(), schema).empty();
}

/// Brings the repository up to date. The daemon, which has it open, is only stopped for a change.
StringArray bringUpToDate(const Layout::Tree& tree, const Schema& schema) {
    const String directory = tree.path(Layout::REPOSITORY);
    if (!tree.isLive() || !OwUtilities::isDaemonRunning()) {
        return upgradeRepository(directory, schema);
    }
    if (OpenWBEM::CIMRepository::hasPresentFormat(directory) && isServedUpToDate(schema)) {
        return {};
    }
    StringArray done;
    OwUtilities::withDaemonStopped([&] { done = upgradeRepository(directory, schema); });
    done.emplace_back("owcimomd was stopped for that and runs again");
    return done;
}

}  // namespace

StringArray setUp(const Layout::Tree& tree, const String& schemaDirectory) {
    checkMayRun(tree);
    const Schema schema = readSchema(schemaDirectory);
    const bool isThere = isTaken(tree.path(Layout::REPOSITORY));
    isThere ? checkIsDirectory(tree.path(Layout::REPOSITORY)) : checkPlaceIsFree(tree);
    StringArray done;
    std::optional<blocxx::Process::Identity> account;
    if (tree.isLive()) {
        account = ensureAccount(done);
    }
    makeDirectories(tree);
    if (account) {
        append(done, OwUtilities::adoptDirectories(tree, *account));
    }
    writeDefaultConfig(tree.path(Layout::CONFIG_FILE));
    if (!isThere) {
        makeRepository(tree, schema, account);
        return {};
    }
    const blocxx::File lock = OwUtilities::takeRunLock(tree.path(""));
    if (account) {
        append(done, OwUtilities::adoptRepository(tree.path(Layout::REPOSITORY), *account));
    }
    append(done, bringUpToDate(tree, schema));
    return done;
}

}  // namespace KovSetup
