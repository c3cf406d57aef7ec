// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/LocalRepository.hpp"

namespace OwUtilities {

bool LocalRepository::hasNameSpace(const String& name) const {
    bool found = false;
    auto search = makeResultHandler<String>(
        [&](const String& known) { found = found || blocxx::equalsIgnoreCase(known, name); });
    m_opened->enumNameSpace(search);
    return found;
}

}  // namespace OwUtilities
