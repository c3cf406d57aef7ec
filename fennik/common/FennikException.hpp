// SPDX-License-Identifier: Apache-2.0
//
// The one exception type that the tool's own code throws. Its error code is the exit status of the
// process, and install scripts test it: the code of every throw site is part of the tool's external
// interface. A failure that wraps a caught exception carries a copy of it as its cause.
#pragma once

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

/// The place of a call, for functions that throw on behalf of their callers. std::source_location
/// would do, but for the compilers that have none.
struct CallSite {
    const char* file;
    int line;

    /// As a function's default argument: the place where that function is called.
    static constexpr CallSite here(const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
        return {file, line};
    }
};

class FennikException : public blocxx::Exception {
public:
    /// Copies `message`, and `otherException` when it is not null.
    FennikException(const char* file, int line, const char* message, int errorCode,
                    const blocxx::Exception* otherException = nullptr,
                    int subClassId = UNKNOWN_SUBCLASS_ID);
    /// For functions that throw on behalf of their callers: `place` is the caller's.
    FennikException(CallSite place, const blocxx::String& message, int errorCode,
                    const blocxx::Exception* otherException = nullptr);

    const char* type() const noexcept override;
    FennikException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

}  // namespace KOVNS2
