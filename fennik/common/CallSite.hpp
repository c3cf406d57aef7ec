// SPDX-License-Identifier: Apache-2.0
//
// The place of a call, for functions that throw on behalf of their callers. std::source_location
// would do, but for the compilers that have none.
#pragma once

namespace KOVNS2 {

struct CallSite {
    const char* file;
    int line;

    /// As a function's default argument: the place where that function is called.
    static constexpr CallSite here(const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
        return {file, line};
    }
};

}  // namespace KOVNS2
