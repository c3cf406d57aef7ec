// SPDX-License-Identifier: Apache-2.0
//
// Any text as a configuration file of the daemon and as one of a product: it is read to its end,
// the kept values are plain text, and the number of complaints is bounded.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "owcimomd/process/Configuration.hpp"

namespace {

/// A main file and a directory with a drop-in, for all inputs.
class Files {
public:
    Files() {
        std::filesystem::create_directory(dropIns());
        // Is no file.
        std::filesystem::create_directory(dropIns() + "/directory.conf");
    }
    ~Files() {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    void write(std::string_view text) const {
        std::ofstream(main(), std::ios::binary) << text;
        std::ofstream(dropIns() + "/product.conf", std::ios::binary) << text;
    }
    std::string main() const { return m_directory + "/main.conf"; }
    std::string dropIns() const { return m_directory + "/conf.d"; }

private:
    static std::string make() {
        std::string name = (std::filesystem::temp_directory_path() / "config-fuzz-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        return name;
    }

    std::string m_directory = make();
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using OwCimomd::Configuration;
    static const Files files;
    Configuration configuration;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    files.write(text);
    configuration.readFiles(files.main(), files.dropIns());
    const size_t bytes = configuration.maxRequestSize();
    if (bytes < Configuration::LEAST_REQUEST_SIZE || bytes > Configuration::LARGEST_REQUEST_SIZE) {
        std::abort();
    }
    constexpr size_t MOST_COMPLAINTS = 102;
    if (configuration.complaints().size() > MOST_COMPLAINTS) {
        std::abort();
    }
    for (const auto& user : configuration.allowedUsers()) {
        if (user.empty() || user.find_first_of(" ,\t\r\n\0", 0, 6) != std::string::npos) {
            std::abort();
        }
    }
    configuration.httpPort();
    configuration.get(Configuration::LOG_LEVEL, "info");
    return 0;
}
