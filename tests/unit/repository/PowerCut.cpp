// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/repository/PowerCut.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace KovTest {

namespace {

constexpr size_t SECTOR = 512;

std::optional<std::string> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

void PowerCut::willTouch(const std::string& path) {
    if (m_safe.count(path) == 0) {
        m_safe[path] = contentOf(path);
    }
}

void PowerCut::synced(const std::string& path) {
    std::optional<std::string>& safe = m_safe[path];
    if (!safe) {
        directorySynced();
    }
    safe = contentOf(path);
}

void PowerCut::directorySynced() {
    for (auto& [path, safe] : m_safe) {
        const bool isThere = std::filesystem::exists(path);
        if (!isThere) {
            safe.reset();
        } else if (!safe) {
            safe = "";  // the name is safe, the content is not
        }
    }
}

void PowerCut::leave(const std::string& path, const std::optional<std::string>& safe) {
    const std::optional<std::string> now = contentOf(path);
    const unsigned choice = m_random() % 4;
    if (safe == now || choice == 0) {
        return;
    }
    if (!safe) {
        std::filesystem::remove(path);
        return;
    }
    if (choice == 1 || !now) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << *safe;
        return;
    }
    const bool hasNewSize = m_random() % 2 == 0;
    std::string mixed = hasNewSize ? *now : *safe;
    const std::string& other = hasNewSize ? *safe : *now;
    for (size_t at = 0; at < std::min(mixed.size(), other.size()); at += SECTOR) {
        if (m_random() % 2 == 0) {
            const size_t size = std::min({SECTOR, mixed.size() - at, other.size() - at});
            mixed.replace(at, size, other, at, size);
        }
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << mixed;
}

void PowerCut::strike() {
    for (const auto& [path, safe] : m_safe) {
        leave(path, safe);
    }
    ::kill(::getpid(), SIGKILL);
    ::_exit(1);
}

}  // namespace KovTest
