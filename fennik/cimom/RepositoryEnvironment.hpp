// SPDX-License-Identifier: Apache-2.0
//
// The environment of an installation's repository when this process opens it directly.
#pragma once

#include "layout/Layout.hpp"
#include "openwbem/repository/LocalEnvironment.hpp"

namespace KOVNS2 {

class ServiceEnv_Associators : public OpenWBEM::LocalEnvironment {
public:
    explicit ServiceEnv_Associators(const OpenWBEM::String& prefix)
        : LocalEnvironment(prefix + Layout::REPOSITORY) {}
};

}  // namespace KOVNS2
