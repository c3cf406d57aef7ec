// SPDX-License-Identifier: Apache-2.0
//
// What a power cut leaves of files: of each, what was synced for sure, and of everything written,
// truncated, made or removed since then any part. Told of what happens to the files by FaultyFiles.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <string>

namespace KovTest {

class PowerCut {
public:
    explicit PowerCut(unsigned seed) : m_random(seed) {}

    /// Before a file is opened or removed.
    void willTouch(const std::string& path);
    /// After its sync. That of a new file puts its name on the disk, too, and with it every other
    /// change of names in the directory.
    void synced(const std::string& path);
    void directorySynced();
    /// Puts the files into a state that the power cut may leave, and ends the process.
    [[noreturn]] void strike();

private:
    void leave(const std::string& path, const std::optional<std::string>& safe);

    std::map<std::string, std::optional<std::string>> m_safe;  // content; none: no such file
    std::mt19937 m_random;
};

}  // namespace KovTest
