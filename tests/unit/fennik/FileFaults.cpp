// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/fennik/FileFaults.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <map>

namespace KOVNS2::Testing::FileFaults {

namespace {

struct Plan {
    unsigned failAt = 0;
    unsigned calls = 0;
    String directory;
    Write write = Write::NOTHING;
    String failedCall;
    String failedFile;
    std::map<int, String> open;  ///< paths by descriptor, of the open files below the directory
};

Plan& plan() {
    static Plan only;
    return only;
}

/// Counts a call on a file below the directory. True, with errno EIO, if it has to fail.
bool fails(const char* call, const String& path) {
    Plan& current = plan();
    if (current.failAt == 0 || !path.starts_with(current.directory)) {
        return false;
    }
    if (++current.calls != current.failAt) {
        return false;
    }
    current.failedCall = call;
    current.failedFile = path;
    errno = EIO;
    return true;
}

bool fails(const char* call, int fd) {
    const auto found = plan().open.find(fd);
    return found != plan().open.end() && fails(call, found->second);
}

}  // namespace

void failCall(unsigned n, const std::filesystem::path& directory, Write write) {
    plan() = Plan();
    plan().failAt = n;
    plan().directory = directory.string() + "/";
    plan().write = write;
}

void failNothing() {
    plan().failAt = 0;
    plan().open.clear();
}

const String& failedCall() {
    return plan().failedCall;
}

const String& failedFile() {
    return plan().failedFile;
}

}  // namespace KOVNS2::Testing::FileFaults

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's names
extern "C" {

using namespace KOVNS2::Testing::FileFaults;

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* data, size_t size);
ssize_t __real_write(int fd, const void* data, size_t size);
int __real_fsync(int fd);
int __real_close(int fd);
int __real_unlink(const char* path);
int __real_rename(const char* from, const char* to);

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
    va_end(arguments);
    if (fails("open", path)) {
        return -1;
    }
    const int fd = __real_open(path, flags, mode);
    if (fd >= 0 && plan().failAt != 0 && blocxx::String(path).starts_with(plan().directory)) {
        plan().open[fd] = path;
    }
    return fd;
}

ssize_t __wrap_read(int fd, void* data, size_t size) {
    return fails("read", fd) ? -1 : __real_read(fd, data, size);
}

ssize_t __wrap_write(int fd, const void* data, size_t size) {
    if (!fails("write", fd)) {
        return __real_write(fd, data, size);
    }
    return plan().write == Write::HALF ? __real_write(fd, data, size / 2) : -1;
}

int __wrap_fsync(int fd) {
    return fails("fsync", fd) ? -1 : __real_fsync(fd);
}

int __wrap_close(int fd) {
    const bool failing = fails("close", fd);
    plan().open.erase(fd);
    const int result = __real_close(fd);
    if (failing) {
        errno = EIO;
        return -1;
    }
    return result;
}

int __wrap_unlink(const char* path) {
    return fails("unlink", path) ? -1 : __real_unlink(path);
}

int __wrap_rename(const char* from, const char* to) {
    return fails("rename", from) ? -1 : __real_rename(from, to);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
