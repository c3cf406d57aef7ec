// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/Budget.hpp"

namespace OwUtilities {

namespace {

/// What a kept text takes beside its characters.
constexpr size_t OVERHEAD = 128;

}  // namespace

void Budget::take(std::string_view text) {
    if (text.size() + OVERHEAD > m_left) {
        BLOCXX_THROW(ExcessException, m_excess);
    }
    m_left -= text.size() + OVERHEAD;
}

}  // namespace OwUtilities
