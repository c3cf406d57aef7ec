// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/SetupException.hpp"

#include <cerrno>

namespace KovSetup {

void failWithErrno(const blocxx::String& attempt) {
    BLOCXX_THROW_ERRNO(SetupException, attempt);
}

}  // namespace KovSetup
