// SPDX-License-Identifier: Apache-2.0
//
// Calls on the file system by path. Functions that return a bool or a File report failure as false
// or a closed File with errno set; the others throw. All throw FileSystemException for a path with
// a NUL, which the system would take for another, shorter one. Files are opened close-on-exec.
#pragma once

#include <sys/types.h>

#include <string_view>

#include "blocxx/Exception.hpp"
#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

BLOCXX_DECLARE_EXCEPTION2(FileSystem, IOException)

namespace FileSystem {

/// Checks a path for a system call made elsewhere. The result points into `path`.
const char* systemPath(const String& path);

/// Creates a file with mode 0666 less the umask, for reading and writing. Fails when the path
/// exists, even as a link.
File createFile(const String& path);
/// Opens a file for reading and writing, and creates it when it does not exist. Fails for a link at
/// the end of the path.
File openOrCreateFile(const String& path);

bool exists(const String& path);
bool isDirectory(const String& path);
/// Whether the path names a regular file that this process may execute.
bool canExecute(const String& path);
bool removeFile(const String& path);
/// Replaces an existing target (rename(2)).
bool renameFile(const String& from, const String& to);
bool makeDirectory(const String& path, mode_t mode = 0777);
/// Changes a link itself.
bool changeFileOwner(const String& path, uid_t uid, gid_t gid);
/// Fails for a link.
bool changeFileMode(const String& path, mode_t mode);
/// Makes a directory's entries durable.
bool syncDirectory(const String& path);
/// The same, but throws a FileSystemException that names the directory.
void syncEntries(const String& directory);
/// Makes the creation or removal of that file durable. Throws as syncEntries().
void syncName(const String& path);

/// The steps of writing a file.
enum class WriteStep {
    CREATE,
    WRITE,
    WRITE_REST,  ///< the system wrote only a part
    SYNC,
    CLOSE,
    DONE
};
/// Writes all of the content at the current offset, syncs the file and closes it. Returns the step
/// that failed, with errno set, or DONE. After a failure, what was written stays; the file stays
/// open when it could not be written or synced.
[[nodiscard]] WriteStep writeDurably(File& file, std::string_view content);
/// Creates the file as createFile() does and writes it durably. syncName() makes its name durable.
/// After a failure, what was made stays.
[[nodiscard]] WriteStep createNew(const String& path, std::string_view content);

/// The default limit on the content of a file, in bytes: far above every file of this system, and a
/// bound on the memory that an endless one (a device, a pipe) takes.
inline constexpr size_t MAX_CONTENT_SIZE = size_t{64} << 20;

/// Who named a file, which decides what is accepted.
enum class NamedBy {
    CALLER,  ///< anything: links are followed, and reading waits for a FIFO's writer
    OTHERS,  ///< a list or a text: the same, but a FIFO without a writer is an error (EPIPE)
    US       ///< a fixed name: only a regular file, and no link at the end of the path
};

// These also throw what Interruption::check() throws.

/// The whole content. Throws FileSystemException that names the path and has errno as its code;
/// EFBIG for more than `limit` bytes.
String getFileContents(const String& path, NamedBy namedBy = NamedBy::OTHERS,
                       size_t limit = MAX_CONTENT_SIZE);
/// Everything that standard input still has; does not close it. Throws as getFileContents.
String readStandardInput(size_t limit = MAX_CONTENT_SIZE);
/// Everything from the current offset to the end. Throws FileSystemException as getFileContents.
String readToEnd(File& file, const String& nameForMessages, size_t limit = MAX_CONTENT_SIZE);
/// Appends everything from the current offset to the end to `contents`. `limit` is for all of
/// `contents`. Returns false with errno set on failure; `contents` then holds what was read.
[[nodiscard]] bool readAll(File& file, String& contents, size_t limit = MAX_CONTENT_SIZE);

namespace Path {
/// The last component of the path: "c" of "/a/b/c" and of "/a/b/c/".
String basename(const String& path);
/// The path without its last component: "/a/b" of "/a/b/c"; "." when there is none.
String dirname(const String& path);
}  // namespace Path

}  // namespace FileSystem
}  // namespace blocxx
