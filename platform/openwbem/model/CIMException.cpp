// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMException.hpp"

#include <iterator>

namespace OpenWBEM {

namespace {

// By status code.
constexpr const char* DESCRIPTIONS[] = {"unknown failure",
                                        "failed",
                                        "access denied",
                                        "invalid namespace",
                                        "invalid parameter",
                                        "invalid class",
                                        "not found",
                                        "not supported",
                                        "class has children",
                                        "class has instances",
                                        "invalid superclass",
                                        "already exists",
                                        "no such property",
                                        "type mismatch",
                                        "query language not supported",
                                        "invalid query",
                                        "method not available",
                                        "method not found",
                                        "unknown failure",
                                        "unknown failure",
                                        "namespace not empty",
                                        "invalid enumeration context",
                                        "invalid operation timeout",
                                        "pull has been abandoned",
                                        "pull cannot be abandoned",
                                        "filtered enumeration not supported",
                                        "continuation on error not supported",
                                        "server limits exceeded",
                                        "server is shutting down"};

/// "DESCRIPTION: MESSAGE". A message that comes from another CIMException, for example through a
/// connection, already has its description.
String compose(CIMException::ErrNoType code, const String& message) {
    const String description = CIMException::description(code);
    if (message.empty()) {
        return description;
    }
    const String prefix = description + ": ";
    return message == description || message.starts_with(prefix) ? message : prefix + message;
}

}  // namespace

CIMException::CIMException(const char* file, int line, ErrNoType code, const String& message,
                           const blocxx::Exception* otherException)
    : Cloneable(file, line, compose(code, message).c_str(), code, otherException) {}

const char* CIMException::description(ErrNoType code) noexcept {
    const auto index = static_cast<size_t>(code);
    return index < std::size(DESCRIPTIONS) ? DESCRIPTIONS[index] : DESCRIPTIONS[0];
}

}  // namespace OpenWBEM
