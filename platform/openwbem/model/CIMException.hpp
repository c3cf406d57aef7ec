// SPDX-License-Identifier: Apache-2.0
//
// An operation that failed with a CIM status code (DSP0200 5.2.6).
#pragma once

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

class CIMException : public blocxx::Cloneable<CIMException> {
public:
    /// A daemon may send other numbers.
    enum ErrNoType : int {
        FAILED = 1,
        ACCESS_DENIED = 2,
        INVALID_NAMESPACE = 3,
        INVALID_PARAMETER = 4,
        INVALID_CLASS = 5,
        NOT_FOUND = 6,
        NOT_SUPPORTED = 7,
        CLASS_HAS_CHILDREN = 8,
        CLASS_HAS_INSTANCES = 9,
        INVALID_SUPERCLASS = 10,
        ALREADY_EXISTS = 11,
        NO_SUCH_PROPERTY = 12,
        TYPE_MISMATCH = 13,
        QUERY_LANGUAGE_NOT_SUPPORTED = 14,
        INVALID_QUERY = 15,
        METHOD_NOT_AVAILABLE = 16,
        METHOD_NOT_FOUND = 17,
        NAMESPACE_NOT_EMPTY = 20,
        INVALID_ENUMERATION_CONTEXT = 21,
        INVALID_OPERATION_TIMEOUT = 22,
        PULL_HAS_BEEN_ABANDONED = 23,
        PULL_CANNOT_BE_ABANDONED = 24,
        FILTERED_ENUMERATION_NOT_SUPPORTED = 25,
        CONTINUATION_ON_ERROR_NOT_SUPPORTED = 26,
        SERVER_LIMITS_EXCEEDED = 27,
        SERVER_IS_SHUTTING_DOWN = 28
    };

    /// The message says what failed. description(code) is put in front of it, so that the message
    /// alone shows the kind of failure. getErrorCode() is the CIM status code.
    CIMException(const char* file, int line, ErrNoType code, const String& message,
                 const blocxx::Exception* otherException = nullptr);

    ErrNoType getErrNo() const noexcept { return static_cast<ErrNoType>(getErrorCode()); }
    /// The meaning of the status code: "not found", "invalid namespace" ...
    static const char* description(ErrNoType code) noexcept;

    const char* type() const noexcept override { return "CIMException"; }
};

/// FAILED, because the connection was lost: whether the operation was carried out is not known.
class OutcomeUnknownException : public blocxx::Cloneable<OutcomeUnknownException, CIMException> {
public:
    OutcomeUnknownException(const char* file, int line, const String& message)
        : Cloneable(file, line, FAILED, message) {}
};

/// Throws CIMException of that code with MESSAGE.
#define OPENWBEM_THROW_CIM(CODE, MESSAGE) \
    throw ::OpenWBEM::CIMException(__FILE__, __LINE__, ::OpenWBEM::CIMException::CODE, (MESSAGE))

}  // namespace OpenWBEM
