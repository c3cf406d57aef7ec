// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/Attempt.hpp"

namespace OwUtilities {

using OpenWBEM::CIMException;

namespace {

/// The message without the description of its status code, which the new exception adds again.
String reasonOf(const CIMException& e) {
    const String message = e.getMessage();
    const String prefix = String(CIMException::description(e.getErrNo())) + ": ";
    return message.compare(0, prefix.size(), prefix) == 0 ? message.substr(prefix.size()) : message;
}

}  // namespace

String describeAttempt(const String& what, const CIMException& e) {
    return "cannot " + what + ": " + reasonOf(e);
}

void failAttempt(const String& what, const CIMException& e) {
    throw CIMException(__FILE__, __LINE__, e.getErrNo(), describeAttempt(what, e));
}

}  // namespace OwUtilities
