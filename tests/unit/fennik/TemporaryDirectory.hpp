// SPDX-License-Identifier: Apache-2.0
//
// A directory that lives as long as the test, and whole files in it.
#pragma once

#include <filesystem>

#include "blocxx/String.hpp"

namespace KOVNS2::Testing {

using blocxx::String;

class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const noexcept { return m_path; }

private:
    std::filesystem::path m_path;
};

String readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const String& content);

}  // namespace KOVNS2::Testing
