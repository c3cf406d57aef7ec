// SPDX-License-Identifier: Apache-2.0
//
// A token pass as a whole process: reads the files that are named and scans each of them once, as
// the compiler reads and scans. What owmofc is compared with besides the bare scanning in memory.
#include <cstdio>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/Parser.hpp"

int main(int argc, char** argv) {
    using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
    try {
        size_t tokens = 0;
        for (int i = 1; i < argc; ++i) {
            SourceText text(MOF::includeFile(argv[i], String()));
            tokens += MOF::countTokens(text);
        }
        std::printf("%zu tokens\n", tokens);
    } catch (const blocxx::Exception& e) {
        std::fprintf(stderr, "%s\n", e.getMessage());
        return 1;
    }
    return 0;
}
