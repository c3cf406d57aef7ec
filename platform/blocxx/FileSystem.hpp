// SPDX-License-Identifier: Apache-2.0
//
// Calls on the file system by path. Where the result is a bool or a File, failure is false or a
// closed File with errno set; the others throw. A path with a NUL in it, which the system would
// take for another, shorter one, is a FileSystemException everywhere.
#pragma once

#include <sys/types.h>

#include <string_view>

#include "blocxx/Exception.hpp"
#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

BLOCXX_DECLARE_EXCEPTION2(FileSystem, IOException)

namespace FileSystem {

/// The path for a system call made elsewhere. Throws for one with a NUL.
const char* systemPath(const String& path);

/// Creates a file exclusively (an existing one, a link included, is an error) with mode 0666 less
/// the umask, for reading and writing.
File createFile(const String& path);
/// Opens for reading and writing, creating it when it is not there. A link at the end of the path
/// is not followed.
File openOrCreateFile(const String& path);

bool exists(const String& path);
bool isDirectory(const String& path);
/// Whether the path names a regular file that this process may execute.
bool canExecute(const String& path);
bool removeFile(const String& path);
/// rename(2): an existing target is replaced.
bool renameFile(const String& from, const String& to);
bool makeDirectory(const String& path, mode_t mode = 0777);
bool changeFileOwner(const String& path, uid_t uid, gid_t gid);
bool changeFileMode(const String& path, mode_t mode);
/// Makes a directory's entries durable.
bool syncDirectory(const String& path);
/// The same; throws FileSystemException that names the directory.
void syncEntries(const String& directory);
/// Makes durable that the file of that path is there, or that it has gone. Throws as syncEntries().
void syncName(const String& path);

/// The steps of writing a file.
enum class WriteStep {
    CREATE,
    WRITE,
    WRITE_REST,  ///< the system wrote a part and then no more
    SYNC,
    CLOSE,
    DONE
};
/// Writes all of the content at the current offset, syncs the file and closes it. Returns the step
/// that failed, with errno set, or DONE. What was written until then stays; the file stays open
/// when it could not be written or synced.
[[nodiscard]] WriteStep writeDurably(File& file, std::string_view content);
/// Creates the file, as createFile() does, and writes it durably; its name is durable with
/// syncName(). What was made until a failure stays.
[[nodiscard]] WriteStep createNew(const String& path, std::string_view content);

/// The most that is read as one content, in bytes, unless the caller says otherwise: far above
/// every file of this system, and a bound on the memory that an endless one (a device, a pipe)
/// takes.
inline constexpr size_t MAX_CONTENT_SIZE = size_t{64} << 20;

/// Who named a file. It decides what the name may lead to.
enum class NamedBy {
    CALLER,  ///< opened as any program opens it: links are followed, a FIFO is waited for
    OTHERS,  ///< a list or a text: a FIFO that nobody has open for writing is an error (EPIPE)
    US       ///< a fixed name: nothing but a regular file, and no link at the end of the path
};

/// The whole content. Throws FileSystemException, naming the path, with errno as its code; EFBIG
/// for more than `limit` bytes.
String getFileContents(const String& path, NamedBy namedBy = NamedBy::OTHERS,
                       size_t limit = MAX_CONTENT_SIZE);
/// Everything from the current offset to the end. Throws FileSystemException as getFileContents.
String readToEnd(File& file, const String& nameForMessages, size_t limit = MAX_CONTENT_SIZE);
/// The same behind what `contents` has already, which counts for the limit. False with errno set;
/// `contents` then holds what was read until then.
[[nodiscard]] bool readAll(File& file, String& contents, size_t limit = MAX_CONTENT_SIZE);

namespace Path {
/// The last component of the path: "c" of "/a/b/c" and of "/a/b/c/".
String basename(const String& path);
/// The path without its last component: "/a/b" of "/a/b/c"; "." when there is none.
String dirname(const String& path);
}  // namespace Path

}  // namespace FileSystem
}  // namespace blocxx
