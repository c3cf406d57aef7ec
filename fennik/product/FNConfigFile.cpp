// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/FNConfigFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <boost/bind/bind.hpp>
#include <cerrno>
#include <limits>
#include <optional>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Interruption.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/common/TempFile.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "fennik/undo/FileCleanupActions.hpp"

namespace KOVNS2 {

namespace FileSystem = blocxx::FileSystem;
using blocxx::FileSystemException;

namespace {

UnitLog log() {
    return UnitLog("");
}

/// Something other than a file is in the snippet's place. Only the administrator knows why.
FileSystemException notARegularFile(const String& path, const char* what, int errnum,
                                    CallSite place = CallSite::here()) {
    const String message = blocxx::Format(
        "\"%1\" is %2 and not a file: fennik neither reads nor removes it. Remove it, or put a "
        "file with the configuration in its place; then run the command again.",
        path, what);
    return {place.file, place.line, message.c_str(), errnum};
}

void requireRegularFile(const blocxx::File& file, const String& path) {
    struct stat info = {};
    if (::fstat(file.getFileDescriptor(), &info) != 0) {
        BLOCXX_THROW_ERRNO(FileSystemException, "Unable to read " + path);
    }
    if (S_ISDIR(info.st_mode)) {
        throw notARegularFile(path, "a directory", EISDIR);
    }
    if (!S_ISREG(info.st_mode)) {
        throw notARegularFile(path, "a pipe or a device", EINVAL);
    }
}

/// The snippet's content, of any size; nullopt when there is no snippet. Does not follow a link in
/// its place: the product may not show or restore the file that it leads to.
std::optional<String> readSnippet(const String& productName, const String& path) {
    if (!ProductPaths::canNameSnippet(productName)) {
        return std::nullopt;
    }
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        if (errno == ELOOP) {
            throw notARegularFile(path, "a symbolic link", ELOOP);
        }
        BLOCXX_THROW_ERRNO(FileSystemException, "Unable to open " + path);
    }
    requireRegularFile(file, path);
    return FileSystem::readToEnd(file, path, std::numeric_limits<size_t>::max());
}

String readSourceWhole(const String& source, const String& prefix) {
    if (source == "-") {
        return FileSystem::readStandardInput();
    }
    const String path = prefix + source;
    if (!FileSystem::exists(path)) {
        throw FennikException("The specified path " + path + " : does not exist.",
                              ErrorCode::CONFIG_SOURCE_MISSING);
    }
    return FileSystem::getFileContents(path, FileSystem::NamedBy::CALLER);
}

String readSource(const String& source, const String& prefix) {
    try {
        return readSourceWhole(source, prefix);
    } catch (const FileSystemException& e) {
        if (e.getErrorCode() != EFBIG) {
            throw;
        }
        BLOCXX_THROW_ERR(
            FileSystemException,
            String(e.getMessage()) + ", which is the most that a product's configuration may have",
            EFBIG);
    }
}

TempFile::Released createTempFile(const String& directory) {
    try {
        return TempFile(directory).release();
    } catch (const FileSystemException& e) {
        throw FennikException(e.getMessage(), ErrorCode::CONFIG_NOT_WRITTEN, &e);
    }
}

/// Removes the temporary file and throws FennikException with `message`; `reason` is its cause.
[[noreturn]] void CleanupTempFile_ReportErrno(const String& message, const String& tempPath,
                                              int errnum,
                                              const FileSystemException* reason = nullptr,
                                              CallSite place = CallSite::here()) {
    String details = blocxx::ExceptionDetail::FormatMsg(message, errnum);
    if (!FileSystem::removeFile(tempPath)) {
        details +=
            ". Unable to delete temp file. You should run rm " + tempPath + " to delete the file.";
    }
    throw FennikException(details, ErrorCode::CONFIG_NOT_WRITTEN, reason, place);
}

/// Makes the content durable before the rename, so that a power cut cannot leave an empty snippet.
void writeAndClose(blocxx::File& file, const String& tempPath, const String& content) {
    using FileSystem::WriteStep;
    switch (FileSystem::writeDurably(file, content)) {
        case WriteStep::WRITE:
            CleanupTempFile_ReportErrno("Unable to write to temp file.", tempPath, errno);
        case WriteStep::WRITE_REST:
            CleanupTempFile_ReportErrno("Incomplete write while creating temp file.", tempPath,
                                        errno);
        case WriteStep::SYNC:
        case WriteStep::CLOSE:
            CleanupTempFile_ReportErrno("Error closing " + tempPath, tempPath, errno);
        case WriteStep::CREATE:  // not part of writeDurably
        case WriteStep::DONE:
            break;
    }
}

void checkName(const String& productName, const String& path) {
    const String problem = ProductPaths::problemOfSnippet(productName);
    if (!problem.empty()) {
        const NameException reason(
            __FILE__, __LINE__,
            blocxx::Format("the product name \"%1\" %2", productName, problem).c_str());
        throw FennikException(
            blocxx::ExceptionDetail::FormatMsg("Unable to create the file " + path, EINVAL),
            ErrorCode::CONFIG_NOT_WRITTEN, &reason);
    }
}

void renameIntoPlace(const String& tempPath, const String& path) {
    if (FileSystem::renameFile(tempPath, path)) {
        return;
    }
    const int errnum = errno;
    const FileSystemException directory = notARegularFile(path, "a directory", EISDIR);
    CleanupTempFile_ReportErrno("Unable to create the file " + path, tempPath, errnum,
                                errnum == EISDIR ? &directory : nullptr);
}

}  // namespace

String getConfigFile(const String& productName, const String& prefix) {
    return readSnippet(productName, ProductPaths::configSnippet(productName, prefix)).value_or("");
}

void setConfigFile(const String& productName, const String& source, const String& prefix) {
    setConfigFileFromString(productName, readSource(source, prefix), prefix);
}

// The rename is the commit point. A run killed before it leaves the old snippet untouched, and the
// temporary file.
void setConfigFileFromString(const String& productName, const String& content,
                             const String& prefix) {
    const String path = ProductPaths::configSnippet(productName, prefix);
    log().debug("Setting config file \"%1\" with contents:\n%2", path, content);
    blocxx::Interruption::check();
    checkName(productName, path);
    auto [file, tempPath] = createTempFile(ProductPaths::configDirectory(prefix));
    writeAndClose(file, tempPath, content);
    renameIntoPlace(tempPath, path);
    FileSystem::syncName(path);
    log().debug("Successfully created config file \"%1\"", path);
}

void rmConfigFile(const String& productName, const String& prefix, CleanupActions_t& undo) {
    const String path = ProductPaths::configSnippet(productName, prefix);
    const std::optional<String> content = readSnippet(productName, path);
    if (!content) {
        return;
    }
    blocxx::Interruption::check();
    if (!FileSystem::removeFile(path)) {
        throw FennikException("Unable to delete " + path, ErrorCode::CONFIG_NOT_REMOVED);
    }
    undo.push_back(boost::bind(&cleanupWriteFile, path, *content));
    FileSystem::syncName(path);
}

}  // namespace KOVNS2
