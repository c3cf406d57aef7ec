// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "blocxx/String.hpp"

namespace OpenWBEM {

/// See CIMRepository::create().
void createRepository(const blocxx::String& directory);

}  // namespace OpenWBEM
