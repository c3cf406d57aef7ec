// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/RepositoryEnvironment.hpp"

#include "layout/Layout.hpp"

namespace KOVNS2 {

using OpenWBEM::String;

ServiceEnv_Associators::ServiceEnv_Associators(String prefix) : m_prefix(std::move(prefix)) {}

String ServiceEnv_Associators::getConfigItem(const String& name, const String& defaultValue) const {
    if (name == OpenWBEM::ConfigOpts::DATADIR_opt) {
        return m_prefix + Layout::REPOSITORY;
    }
    return defaultValue;
}

OpenWBEM::CIMOMHandleIFCRef ServiceEnv_Associators::getCIMOMHandle(
    OpenWBEM::OperationContext& /*context*/, EBypassProvidersFlag /*bypassProviders*/) const {
    return m_handle;
}

}  // namespace KOVNS2
