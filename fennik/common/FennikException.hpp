// SPDX-License-Identifier: Apache-2.0
//
// The exception type of the tool's own failures. Its error code becomes the exit status, which
// install scripts test, so the code of every throw site is part of the tool's interface. A failure
// that wraps a caught exception holds a copy of it as its cause.
#pragma once

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

using blocxx::CallSite;

class FennikException : public blocxx::Cloneable<FennikException> {
public:
    /// Copies `message`, and `otherException` when it is not null.
    FennikException(const char* file, int line, const char* message, int errorCode,
                    const Exception* otherException = nullptr, int subClassId = UNKNOWN_SUBCLASS_ID)
        : Cloneable(file, line, message, errorCode, otherException, subClassId) {}
    /// The same, thrown where it is constructed. A function that throws on behalf of its callers
    /// passes their place.
    FennikException(const blocxx::String& message, int errorCode,
                    const Exception* otherException = nullptr, CallSite place = CallSite::here())
        : FennikException(place.file, place.line, message.c_str(), errorCode, otherException) {}

    const char* type() const noexcept override { return "FennikException"; }
};

}  // namespace KOVNS2
