// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as MOF to repair: repaired text is not changed again, no carriage return is left, lines
// that do not concern the repairs are unchanged, and so is text that is protected from the repair.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fennik/mofrepair/FNHacks.hpp"

namespace {

void check(bool holds, const char* what, const std::string& text) {
    if (!holds) {
        std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
        std::abort();
    }
}

std::string repaired(std::string text) {
    KOVNS2::fixBrokenEmbeddedInstances(text);
    return text;
}

std::string keptFromRepair(std::string text) {
    KOVNS2::keepFromRepair(text);
    return text;
}

std::string escaped(std::string text) {
    KOVNS2::fixImproperlyEscapedCharacters(text);
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    // The input as a text, and as the content of an embedded instance.
    for (const std::string& text : {input, "Process = \"" + input + "\";"}) {
        const std::string once = repaired(text);
        check(repaired(once) == once, "repaired twice is not repaired once", text);
        if (text.find("Process") == std::string::npos) {
            check(once == text, "changed without need", text);
        }
        const std::string kept = keptFromRepair(text);
        check(repaired(kept) == kept, "repaired although it is kept from that", text);
        const std::string all = escaped(once);
        check(all.find('\r') == std::string::npos, "a carriage return is left", text);
        check(escaped(repaired(all)) == all, "all repairs twice are not all repairs once", text);
        if (once.find('\r') == std::string::npos) {
            check(all == once, "changed without a carriage return", text);
        }
    }
    return 0;
}
