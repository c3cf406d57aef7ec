// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Invariant.hpp"

#include <cstdio>
#include <cstdlib>

#include "blocxx/Format.hpp"

namespace blocxx {

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool IS_TESTED = true;
#else
constexpr bool IS_TESTED = false;
#endif

}  // namespace

bool believed(bool holds, std::source_location place) noexcept {
    if (IS_TESTED && !holds) {
        static_cast<void>(std::fprintf(stderr, "%s:%u: a believed invariant does not hold\n",
                                       place.file_name(), place.line()));
        std::abort();
    }
    return holds;
}

void ensured(bool holds, std::source_location place) {
    if (!holds) {
        throw InvariantException(place.file_name(), static_cast<int>(place.line()),
                                 String(Format("internal error in %1, line %2; please report it",
                                               place.file_name(), place.line()))
                                     .c_str());
    }
}

}  // namespace blocxx
