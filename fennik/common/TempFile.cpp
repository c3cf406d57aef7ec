// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/TempFile.hpp"

#include <cerrno>
#include <random>
#include <utility>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

namespace KOVNS2 {

using blocxx::String;
namespace FileSystem = blocxx::FileSystem;

namespace {

// There are 36^8 names, so a collision means that something is wrong.
constexpr int RANDOM_CHARACTERS = 8;

String randomName() {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device device;
    std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
    String name = ".fennik-tmp-";
    for (int i = 0; i < RANDOM_CHARACTERS; ++i) {
        name += alphabet[pick(device)];
    }
    return name;
}

}  // namespace

TempFile::TempFile(const String& directory) {
    if (directory.empty()) {
        errno = ENOENT;  // an empty path would become "/" below
    } else {
        m_held.path = directory + (directory.ends_with('/') ? "" : "/") + randomName();
        m_held.file = FileSystem::createFile(m_held.path);
    }
    if (!m_held.file) {
        BLOCXX_THROW_ERRNO(
            blocxx::FileSystemException,
            blocxx::Format("Cannot create a temporary file in \"%1\"", directory).toString());
    }
}

TempFile::~TempFile() {
    if (!m_held.path.empty()) {
        FileSystem::removeFile(m_held.path);
    }
}

TempFile::Released TempFile::release() {
    return std::exchange(m_held, {});
}

}  // namespace KOVNS2
