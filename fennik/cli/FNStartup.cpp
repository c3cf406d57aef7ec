// SPDX-License-Identifier: Apache-2.0
#include "fennik/cli/FNStartup.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/LogAppender.hpp"
#include "fennik/cli/Options.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/StandardStreams.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::LogAppender;
using blocxx::String;

namespace {

// A provider registration keeps many MOF and privilege files open at a time.
constexpr rlim_t DESCRIPTOR_FLOOR = 256;

/// Keeps the lock for the life of the process.
blocxx::File g_lockFile;

/// A debug log. A failure to write it fails the run, but at the next step: the step being logged
/// has succeeded and its undo must still be pushed, and undo steps must run to the end.
class DebugLog : public LogAppender {
public:
    explicit DebugLog(const blocxx::LogAppenderRef& file) : m_file(file) {}

    bool accepts(std::string_view component, blocxx::ELogLevel level) const override {
        return m_file->accepts(component, level);
    }
    void append(const blocxx::LogMessage& message) override {
        try {
            m_file->append(message);
        } catch (const std::exception&) {
            blocxx::Interruption::failLater(std::current_exception());
        }
    }

private:
    blocxx::LogAppenderRef m_file;
};

}  // namespace

// Standard error comes first, so an error reaches it even when the log file cannot be written.
void SetupLogging(const blocxx::CmdLineParser& parser) {
    blocxx::Array<blocxx::LogAppenderRef> appenders;
    appenders.push_back(new blocxx::CerrAppender(LogAppender::ALL_COMPONENTS,
                                                 blocxx::tokenize("ERROR FATAL"), "%m"));
    if (parser.isSet(LOG_FILE_OPT)) {
        const blocxx::String fileName =
            parser.mustGetOptionValue(LOG_FILE_OPT, "A filename must be specified");
        appenders.push_back(new DebugLog(new blocxx::FileAppender(
            LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, fileName,
            LogAppender::STR_TTCC_MESSAGE_FORMAT, blocxx::FileAppender::E_AS_ANY_PROGRAM)));
    }
    LogAppender::setDefaultLogAppender(new blocxx::MultiAppender(std::move(appenders)));
}

void validateUserContext() {
    if (::geteuid() != 0) {
        throw FennikException("fennik must be run as root", ErrorCode::NOT_ROOT);
    }
}

// Also sets the hard limit to the floor, so that cp and rm get no more than the tool.
void CheckUlimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        BLOCXX_THROW_ERRNO(FennikException, "getrlimit failed");
    }
    if (limit.rlim_cur >= DESCRIPTOR_FLOOR) {
        return;
    }
    limit = {DESCRIPTOR_FLOOR, DESCRIPTOR_FLOOR};
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        BLOCXX_THROW_ERRNO(FennikException, "setrlimit failed");
    }
}

namespace {

/// The id of the process that holds the lock; empty when unknown. The kernel names the holder of a
/// record lock, but not of an open file description lock: that one's id is in the file.
String lockHolder() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    const int fd = g_lockFile.getFileDescriptor();
    if (::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK && lock.l_pid > 0) {
        return std::to_string(lock.l_pid);
    }
    std::array<char, 16> text{};
    const ssize_t count = ::pread(fd, text.data(), text.size(), 0);
    const String number(text.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    return number.substr(0, number.find_first_not_of("0123456789"));
}

void writeOwnPid() {
    const String number = std::to_string(::getpid()) + "\n";
    struct stat info = {};
    // In somebody else's staged tree the file may be a hard link to another file. Without the id,
    // waiting runs cannot name the holder; that is no failure.
    if (::fstat(g_lockFile.getFileDescriptor(), &info) == 0 && info.st_nlink == 1 &&
        ::ftruncate(g_lockFile.getFileDescriptor(), 0) == 0) {
        g_lockFile.write(number.data(), number.size());
    }
}

void reportLockWait(const String& path) {
    const String holder = lockHolder();
    const String who = holder.empty() ? "another process" : "process " + holder;
    StandardStreams::writeError("Waiting for " + who + ", which holds the lock \"" + path +
                                "\".\n");
}

/// 0, or -1 with errno set.
int waitForLock(const String& path) {
    constexpr std::chrono::milliseconds INTERVAL{20};
    constexpr int PATIENCE = 100;
    if (::isatty(STDERR_FILENO) == 1) {
        for (int i = 0; i < PATIENCE; ++i) {
            std::this_thread::sleep_for(INTERVAL);
            if (g_lockFile.getOwnLock(blocxx::File::E_WRITE_LOCK, blocxx::File::E_DONT_WAIT) == 0) {
                return 0;
            }
        }
        reportLockWait(path);
    }
    return g_lockFile.getOwnLock(blocxx::File::E_WRITE_LOCK);
}

/// 0, or -1 with errno set.
int lock(const String& path) {
    if (g_lockFile.getOwnLock(blocxx::File::E_WRITE_LOCK, blocxx::File::E_DONT_WAIT) == 0) {
        return 0;
    }
    return errno == EAGAIN || errno == EACCES ? waitForLock(path) : -1;
}

}  // namespace

void acquireLock(const String& prefix) {
    const String path = prefix + Layout::LOCK_FILE;
    g_lockFile = blocxx::FileSystem::openOrCreateFile(path);
    if (!g_lockFile) {
        const int errnum = errno;
        throw FennikException(
            Format("Failed to open lock file %1: %2", path, std::strerror(errnum)),
            ErrorCode::LOCK_FILE_NOT_OPENED);
    }
    if (lock(path) != 0) {
        const int errnum = errno;
        throw FennikException(Format("Failed to lock lockfile: %1", std::strerror(errnum)),
                              ErrorCode::LOCK_NOT_TAKEN);
    }
    writeOwnPid();
}

}  // namespace KOVNS2
