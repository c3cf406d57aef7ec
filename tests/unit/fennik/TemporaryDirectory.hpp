// SPDX-License-Identifier: Apache-2.0
//
// A directory that is removed with its content when the object is destroyed; reading and writing
// whole files.
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
