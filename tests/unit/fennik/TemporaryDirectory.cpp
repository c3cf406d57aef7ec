// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/fennik/TemporaryDirectory.hpp"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace KOVNS2::Testing {

namespace fs = std::filesystem;

namespace {

fs::path makeDirectory() {
    String pattern = (fs::temp_directory_path() / "fennik-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make " + pattern);
    }
    return pattern;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() : m_path(makeDirectory()) {}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

String readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return String(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const fs::path& path, const String& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace KOVNS2::Testing
