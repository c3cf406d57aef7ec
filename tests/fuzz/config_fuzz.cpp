// SPDX-License-Identifier: Apache-2.0
//
// Any text as a configuration file of the daemon: it is read to its end, the kept values are plain
// text, and the number of complaints is bounded.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "owcimomd/process/Configuration.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using OwCimomd::Configuration;
    Configuration configuration;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    configuration.read(text, "fuzz.conf");
    configuration.read(text, "again.conf");
    constexpr size_t MOST_COMPLAINTS = 101;
    if (configuration.complaints().size() > MOST_COMPLAINTS) {
        std::abort();
    }
    for (const auto& user : configuration.allowedUsers()) {
        if (user.empty() || user.find_first_of(" ,\t\r\n\0", 0, 6) != std::string::npos) {
            std::abort();
        }
    }
    configuration.get(Configuration::LOG_LEVEL, "info");
    return 0;
}
