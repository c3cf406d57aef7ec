// SPDX-License-Identifier: Apache-2.0
//
// Simulates what a power cut leaves of files: what was synced, and any part of what was written,
// truncated, created or removed since then. FaultyFiles reports the operations on the files.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <string>

namespace KovTest {

class PowerCut {
public:
    explicit PowerCut(unsigned seed) : m_random(seed) {}

    /// Call it before a file is opened or removed.
    void willTouch(const std::string& path);
    /// Call it after a file was synced. Syncing a new file also syncs its directory.
    void synced(const std::string& path);
    void directorySynced();
    /// Puts the files into a state that the power cut may leave, and ends the process.
    [[noreturn]] void strike();

private:
    void leave(const std::string& path, const std::optional<std::string>& safe);

    std::map<std::string, std::optional<std::string>> m_safe;  // synced content; none: no file
    std::mt19937 m_random;
};

}  // namespace KovTest
