// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/RepositoryCopy.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/Secure.hpp"
#include "fennik/cimom/AccountDirectory.hpp"
#include "fennik/cimom/KeptFiles.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "fennik/cimom/RepositoryHolder.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/Execute.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/undo/FNCleanupActions.hpp"
#include "fennik/undo/FileCleanupActions.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMException.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::Logger;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr const char* LIVE = Layout::REPOSITORY;
constexpr const char* COPY = Layout::REPOSITORY_COPY;
constexpr const char* BACKUP = Layout::REPOSITORY_BACKUP;

// A large repository may take long; a whole day means that the program hangs.
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

/// Whether there is anything of that name, a link that leads nowhere included.
bool isTaken(const String& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

bool isLink(const String& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool isRealDirectory(const String& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

[[noreturn]] void failCopying(const String& command, const Outcome& outcome,
                              const blocxx::Exception* cause = nullptr) {
    const String message = Format(
        "Unable to copy the repository directory. %1 Failed with status message: %2\n and output "
        "%3\n",
        command, outcome.status, outcome.output);
    throw FennikException(__FILE__, __LINE__, message.c_str(), ErrorCode::REPOSITORY_NOT_COPIED,
                          cause);
}

/// A failure of the step ends the run with the exit status that belongs to the step.
template <class Step>
void asStep(const char* message, int errorCode, Step step) {
    try {
        step();
    } catch (const blocxx::Exception& e) {
        throw FennikException(__FILE__, __LINE__, message, errorCode, &e);
    }
}

/// What an administrator has to do when something stands where the backup should go.
std::optional<blocxx::FileSystemException> leftOver(const String& to, int errnum) {
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
    const auto cause = leftOver(to, errnum);
    const String message =
        Format("Unable to move %1 to %2. ::rename set errno = %3", from, to, errnum);
    throw FennikException(__FILE__, __LINE__, message.c_str(), ErrorCode::REPOSITORY_NOT_EXCHANGED,
                          cause ? &*cause : nullptr);
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

/// Tells what will be in the backup's way while nothing has been changed yet, here or by the
/// operation. An empty directory will be replaced. Where there is no live repository, what stands
/// there may be the only one.
void checkBackupPlace(const String& live, const String& backup) {
    if (!isRealDirectory(live) || !isTaken(backup)) {
        return;
    }
    if (!isRealDirectory(backup)) {
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
        BLOCXX_THROW_ERR(FennikException,
                         Format("Unable to remove temporary directory: %1 \n %2 \n %3", command,
                                outcome.status, outcome.output),
                         ErrorCode::BACKUP_NOT_REMOVED);
    }
}

/// The name has no prefix.
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
            if (const String copy = m_prefix + COPY; isTaken(copy)) {
                RemoveReposWorkCopyDir(copy);
            }
        } catch (const std::exception& e) {
            UndoMessages::logUndoFailure("Failed to delete the directory: " + m_prefix + COPY +
                                         ": " + e.what());
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
        BLOCXX_THROW_ERR(FennikException,
                         Format("An error occured while creating a copy of the repository. %1 : "
                                "directory already exists. You should remove this directory and "
                                "run fennik again.",
                                copy),
                         ErrorCode::REPOSITORY_NOT_COPIED);
    }
    const String command = Format("%1 -pR %2 %3", locate("cp"), live, copy);
    // The words of a command cannot hold blanks: other directories would be copied, and removed.
    if (blocxx::tokenize(copy).size() != 1) {
        failCopying(command, {false, "The path has blanks in it.", {}});
    }
    // Changes made through the copy of a link would be changes to the live repository.
    if (isLink(live)) {
        failCopying(command,
                    {false, "Nothing was copied: the repository directory is a link.", {}});
    }
    checkBackupPlace(live, m_prefix + BACKUP);
    holdLive(command);
    // From here on the copy is this run's, also when it remains half made. Anything else that has
    // its name, such as a file, is not.
    m_initialised = !isTaken(copy);
    Outcome outcome = execute(command);
    blocxx::Interruption::check();
    if (outcome.succeeded && !isRealDirectory(copy)) {
        outcome.output = "The copy is no directory: something has taken the repository's place.";
        outcome.succeeded = false;
    }
    if (!outcome.succeeded) {
        failCopying(command, outcome);
    }
    openCopy();
}

// What anybody else did to the live repository from here on would be lost with it. The lock is that
// of the file, whatever the directory's name is; cp only reads, and asks for none. It goes with
// this object, and early when the file is opened and closed in this process by other means than
// SQLite: nothing here does so. Below a prefix no daemon serves what is there, and the copy is not
// opened.
void RepositoryCopy::holdLive(const String& command) {
    if (!m_prefix.empty()) {
        return;
    }
    try {
        m_live.emplace(new ServiceEnv_Associators(m_prefix));
        m_live->repository().hold();
    } catch (const OpenWBEM::CIMException& e) {
        m_live.reset();
        const String holder = holderOf(LIVE);
        const String by = holder.empty() ? String() : ": it is in use by " + holder;
        failCopying(command, {false, "Nobody else can be kept from the repository" + by, {}}, &e);
    }
}

void RepositoryCopy::openCopy() {
    // The environment names the copy without the prefix. Whatever stands there is another
    // repository, the machine's own, and must not be opened.
    if (!m_prefix.empty()) {
        OPENWBEM_THROW_CIM(
            FAILED, Format("The working copy of the repository cannot be opened: it was made at "
                           "\"%1\" and is looked for at \"%2\". Operations on a working copy are "
                           "possible only on an installed system, not below another directory",
                           m_prefix + COPY, COPY));
    }
    m_copy.emplace(new ReposCopyEnv);
}

// 1. The copy is committed, which closes its journal, and put on the disk. Then it is held, as the
//    live repository is: it will be that, and whoever opens it before the end must not, as the
//    renames may be undone. Not earlier, as putting it on the disk closes its file, which drops the
//    locks on it. Until here, and after a crash, the live repository is untouched; a crash leaves
//    the copy behind.
// 2. The live repository gets its backup name. A crash from here leaves no live repository; the
//    next opening tells to rename the backup.
// 3. The copy gets the live name: the commit point. After a crash the live repository is the new
//    one, complete, and the backup is left behind.
// 4. The parent directory is synced, so that a power cut cannot bring the names of before back once
//    the old files are gone.
// 5. The backup is removed. Second names of its files are kept meanwhile: a removal that fails half
//    way can be undone, too.
void RepositoryCopy::SwapInNewRepository() {
    const Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, "Swapping in new repository.");
    const blocxx::Interruption::Deferred deferred;
    m_undo.clear();
    m_copy->repository().commit();
    asStep("Unable to put the copy of the repository on the disk.",
           ErrorCode::REPOSITORY_NOT_COPIED,
           [copy = m_prefix + COPY] { AccountDirectory::sync(copy); });
    asStep("Unable to keep everybody else from the copy of the repository.",
           ErrorCode::REPOSITORY_NOT_COPIED, [this] { m_copy->repository().hold(); });
    undoOnFailure(m_undo, [this] { exchange(); });
    m_swapped = true;
    m_undo.clear();
    // Too late to be undone, and harmless: at worst a power cut brings the backup's name back.
    FileSystem::syncDirectory(m_prefix + Layout::DATA_DIRECTORY);
}

void RepositoryCopy::exchange() {
    const String live = m_prefix + LIVE;
    const String backup = m_prefix + BACKUP;
    const String copy = m_prefix + COPY;
    const String parent = m_prefix + Layout::DATA_DIRECTORY;
    std::shared_ptr<KeptFiles> kept;
    asStep("Unable to keep the files of the repository while its backup is removed.",
           ErrorCode::BACKUP_NOT_REMOVED, [&] {
               kept = std::make_shared<KeptFiles>(live, m_prefix + Layout::REPOSITORY_KEPT_FILES);
           });
    // An entry that cannot be pushed would leave its step without an undo.
    m_undo.reserve(4);
    m_undo.emplace_back([parent] { FileSystem::syncDirectory(parent); });
    RenameFileOrDir(live, backup);
    m_undo.emplace_back([=] { RenameFileOrDir_Cleanup(backup, live); });
    RenameFileOrDir(copy, live);
    m_undo.emplace_back([=] { RenameFileOrDir_Cleanup(live, copy); });
    asStep("Unable to put the new names of the repository directories on the disk.",
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
