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

bool believed(bool holds, CallSite place) noexcept {
    if (IS_TESTED && !holds) {
        static_cast<void>(std::fprintf(stderr, "%s:%d: a believed invariant does not hold\n",
                                       place.file, place.line));
        std::abort();
    }
    return holds;
}

void ensured(bool holds, CallSite place) {
    if (!holds) {
        const String message =
            Format("internal error in %1, line %2; please report it", place.file, place.line);
        throw InvariantException(place.file, place.line, message.c_str());
    }
}

}  // namespace blocxx
