// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/RepositoryCopy.hpp"

#include <cerrno>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/Secure.hpp"
#include "fennik/cimom/AccountDirectory.hpp"
#include "fennik/cimom/HardLinkBackup.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "fennik/cimom/RepositoryHolder.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/Execute.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/undo/FNCleanupActions.hpp"
#include "fennik/undo/FileCleanupActions.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMException.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::Logger;
using std::filesystem::file_type;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr const char* LIVE = Layout::REPOSITORY;
constexpr const char* COPY = Layout::REPOSITORY_COPY;
constexpr const char* BACKUP = Layout::REPOSITORY_BACKUP;

// A large repository may take long. After a day the program is assumed to hang. In seconds.
constexpr int TIME_LIMIT = 86400;

struct Outcome {
    bool succeeded;
    String output;
    blocxx::Process::Status status;
};

Outcome execute(const String& command) {
    Outcome outcome{};
    outcome.succeeded =
        executeUnprivilegedB(command, outcome.output, "executeUnprivileged: ", "", &outcome.status,
                             TIME_LIMIT, blocxx::Secure::minimalEnvironment());
    return outcome;
}

String locate(const char* program) {
    return FileUtils::locateExecutable(program, KOVConstants::EXECUTABLE_DEFAULT_PATH);
}

/// The type of what is at the path, without following a link; `none` when that cannot be found out.
file_type typeOf(const String& path) {
    std::error_code failure;
    return std::filesystem::symlink_status(path.c_str(), failure).type();
}

[[noreturn]] void failCopying(const String& command, const String& output,
                              const blocxx::Process::Status& status = {},
                              const blocxx::Exception* cause = nullptr) {
    throw FennikException(Format("Unable to copy the repository directory. %1 Failed with status "
                                 "message: %2\n and output %3\n",
                                 command, status, output),
                          ErrorCode::REPOSITORY_NOT_COPIED, cause);
}

/// Runs `step`; wraps its failure in a FennikException with the step's exit status.
template <class Step>
void wrapFailure(const char* message, int errorCode, Step step) {
    try {
        step();
    } catch (const blocxx::Exception& e) {
        throw FennikException(message, errorCode, &e);
    }
}

/// The cause to report when something is at the backup's path; none for other values of `errnum`.
std::optional<blocxx::FileSystemException> obstacleFailure(const String& to, int errnum) {
    if (errnum != ENOTEMPTY && errnum != EEXIST && errnum != ENOTDIR) {
        return std::nullopt;
    }
    return blocxx::FileSystemException(
        __FILE__, __LINE__,
        Format("\"%1\" is in the way. An earlier run that was interrupted after it had put the "
               "new repository in place leaves it behind; the repository is complete without it. "
               "Remove it and run fennik again",
               to)
            .toString()
            .c_str());
}

[[noreturn]] void failRenaming(const String& from, const String& to, int errnum) {
    const auto cause = obstacleFailure(to, errnum);
    throw FennikException(
        Format("Unable to move %1 to %2. ::rename set errno = %3", from, to, errnum),
        ErrorCode::REPOSITORY_NOT_EXCHANGED, cause ? &*cause : nullptr);
}

void RenameFileOrDir(const String& from, const String& to) {
    const Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, Format("Attempting to rename \"%1\" to \"%2\"", from, to));
    if (!FileSystem::renameFile(from, to)) {
        failRenaming(from, to, errno);
    }
}

bool isEmptyDirectory(const String& path) {
    std::error_code failure;
    return std::filesystem::is_empty(path.c_str(), failure) && !failure;
}

/// Refuses to start when something is at the backup's path, rather than fail after the operation.
/// An empty directory is allowed: the rename replaces it. Without a live repository nothing is
/// refused here: the copying fails, and the backup may be the only repository left.
void checkBackupPlace(const String& live, const String& backup) {
    if (typeOf(live) != file_type::directory || typeOf(backup) == file_type::not_found) {
        return;
    }
    if (typeOf(backup) != file_type::directory) {
        failRenaming(live, backup, ENOTDIR);
    }
    if (!isEmptyDirectory(backup)) {
        failRenaming(live, backup, ENOTEMPTY);
    }
}

void removeBackup(const String& backup) {
    const String command = Format("%1 -rf %2", locate("rm"), backup);
    const Outcome outcome = execute(command);
    if (!outcome.succeeded) {
        throw FennikException(Format("Unable to remove temporary directory: %1 \n %2 \n %3",
                                     command, outcome.status, outcome.output),
                              ErrorCode::BACKUP_NOT_REMOVED);
    }
}

/// Its path has no prefix.
class ReposCopyEnv : public OpenWBEM::LocalEnvironment {
public:
    ReposCopyEnv() : LocalEnvironment(COPY) {}
};

}  // namespace

RepositoryCopy::RepositoryCopy(const String& prefix) : m_prefix(prefix) {
    try {
        Init();
    } catch (...) {
        discard();
        throw;
    }
}

RepositoryCopy::~RepositoryCopy() {
    discard();
}

void RepositoryCopy::discard() noexcept {
    const blocxx::Interruption::Deferred deferred;
    if (m_initialised && !m_swapped) {
        try {
            if (const String copy = m_prefix + COPY; typeOf(copy) != file_type::not_found) {
                RemoveReposWorkCopyDir(copy);
            }
        } catch (const std::exception& e) {
            logError("Failed to delete the directory: " + m_prefix + COPY + ": " + e.what());
        }
    }
}

void RepositoryCopy::Init() {
    const Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, "Initializing copy of repository");
    const String live = m_prefix + LIVE;
    const String copy = m_prefix + COPY;
    blocxx::Interruption::check();
    if (FileSystem::isDirectory(copy)) {
        throw FennikException(
            Format("An error occured while creating a copy of the repository. %1 : "
                   "directory already exists. You should remove this directory and "
                   "run fennik again.",
                   copy),
            ErrorCode::REPOSITORY_NOT_COPIED);
    }
    const String command = Format("%1 -pR %2 %3", locate("cp"), live, copy);
    // The command line is split at blanks: cp and rm would work on other directories.
    if (blocxx::tokenize(copy).size() != 1) {
        failCopying(command, "The path has blanks in it.");
    }
    // A copy of a link would lead to the live repository.
    if (typeOf(live) == file_type::symlink) {
        failCopying(command, "Nothing was copied: the repository directory is a link.");
    }
    checkBackupPlace(live, m_prefix + BACKUP);
    lockLiveRepository(command);
    // From here on this run owns the copy, complete or not. Whatever had its name before, such as a
    // file, is not this run's to remove.
    m_initialised = typeOf(copy) == file_type::not_found;
    const Outcome outcome = execute(command);
    blocxx::Interruption::check();
    if (!outcome.succeeded) {
        failCopying(command, outcome.output, outcome.status);
    }
    if (typeOf(copy) != file_type::directory) {
        failCopying(command,
                    "The copy is no directory: something has taken the repository's place.",
                    outcome.status);
    }
    openCopy();
}

// Locks the live repository: changes that anybody else made from here on would be lost in the swap.
// The lock belongs to the file and survives renames of its directory; cp takes no lock. It ends
// with this object, or when this process opens and closes the file other than through SQLite, which
// nothing here does. Not needed below a prefix: no daemon serves it, and opening the copy fails.
void RepositoryCopy::lockLiveRepository(const String& command) {
    if (!m_prefix.empty()) {
        return;
    }
    try {
        m_live.emplace(new ServiceEnv_Associators(m_prefix));
        m_live->repository().hold();
    } catch (const OpenWBEM::CIMException& e) {
        m_live.reset();
        const String holder = describeLockHolder(LIVE);
        const String by = holder.empty() ? String() : ": it is in use by " + holder;
        failCopying(command, "Nobody else can be kept from the repository" + by, {}, &e);
    }
}

void RepositoryCopy::openCopy() {
    // The environment's path has no prefix, so it would open the machine's own working copy.
    if (!m_prefix.empty()) {
        OPENWBEM_THROW_CIM(
            FAILED, Format("The working copy of the repository cannot be opened: it was made at "
                           "\"%1\" and is looked for at \"%2\". Operations on a working copy are "
                           "possible only on an installed system, not below another directory",
                           m_prefix + COPY, COPY));
    }
    m_copy.emplace(new ReposCopyEnv);
}

// 1. Commit the copy, which closes its journal, and sync it. Then lock it: it is about to become
//    the live repository, and nobody may open it while the renames can still be undone. The lock
//    comes after the sync, because the sync closes the file, which drops its locks. A crash up to
//    here leaves the live repository untouched and the copy behind.
// 2. Rename the live repository to its backup name. A crash after this leaves no live repository;
//    the next attempt to open it says to rename the backup.
// 3. Rename the copy to the live name: the commit point. A crash after this leaves the new
//    repository, complete, and the backup.
// 4. Sync the parent directory, so that a power cut cannot bring back the old names once the old
//    files are gone.
// 5. Remove the backup. Hard links to its files are kept meanwhile, so that a removal that fails
//    halfway can be undone as well.
void RepositoryCopy::SwapInNewRepository() {
    const Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, "Swapping in new repository.");
    const blocxx::Interruption::Deferred deferred;
    m_copy->repository().commit();
    wrapFailure("Unable to put the copy of the repository on the disk.",
                ErrorCode::REPOSITORY_NOT_COPIED,
                [copy = m_prefix + COPY] { AccountDirectory::sync(copy); });
    wrapFailure("Unable to keep everybody else from the copy of the repository.",
                ErrorCode::REPOSITORY_NOT_COPIED, [this] { m_copy->repository().hold(); });
    undoOnFailure(m_undo, [this] { exchange(); });
    m_swapped = true;
    m_undo.clear();
    // A failure is ignored: at worst a power cut brings back the backup's name.
    FileSystem::syncDirectory(m_prefix + Layout::DATA_DIRECTORY);
}

void RepositoryCopy::exchange() {
    const String live = m_prefix + LIVE;
    const String backup = m_prefix + BACKUP;
    const String copy = m_prefix + COPY;
    const String parent = m_prefix + Layout::DATA_DIRECTORY;
    std::shared_ptr<HardLinkBackup> kept;
    wrapFailure("Unable to keep the files of the repository while its backup is removed.",
                ErrorCode::BACKUP_NOT_REMOVED, [&] {
                    kept = std::make_shared<HardLinkBackup>(
                        live, m_prefix + Layout::REPOSITORY_KEPT_FILES);
                });
    // Allocated now: a push that failed later would leave its step without an undo.
    m_undo.reserve(4);
    m_undo.emplace_back([parent] { FileSystem::syncDirectory(parent); });
    RenameFileOrDir(live, backup);
    m_undo.emplace_back([=] { RenameFileOrDir_Cleanup(backup, live); });
    RenameFileOrDir(copy, live);
    m_undo.emplace_back([=] { RenameFileOrDir_Cleanup(live, copy); });
    wrapFailure("Unable to put the new names of the repository directories on the disk.",
                ErrorCode::REPOSITORY_NOT_EXCHANGED, [&] { FileSystem::syncEntries(parent); });
    m_undo.emplace_back([=] { kept->putBack(backup); });
    removeBackup(backup);
}

void RepositoryCopy::GiveUp() noexcept {
    m_copy->repository().abandon();
}

void RepositoryCopy::CloseRepository() {
    m_copy->repository().close();
}

}  // namespace KOVNS2
