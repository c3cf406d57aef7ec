// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/FennikException.hpp"

namespace KOVNS2 {

FennikException::FennikException(const char* file, int line, const char* message, int errorCode,
                                 const blocxx::Exception* otherException, int subClassId)
    : Exception(file, line, message, errorCode, otherException, subClassId) {}

FennikException::FennikException(CallSite place, const blocxx::String& message, int errorCode,
                                 const blocxx::Exception* otherException)
    : FennikException(place.file, place.line, message.c_str(), errorCode, otherException) {}

const char* FennikException::type() const noexcept {
    return "FennikException";
}

FennikException* FennikException::clone() const noexcept {
    return new (std::nothrow) FennikException(*this);
}

void FennikException::rethrow() const {
    throw FennikException(*this);
}

}  // namespace KOVNS2
