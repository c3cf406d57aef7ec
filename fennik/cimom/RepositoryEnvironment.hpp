// SPDX-License-Identifier: Apache-2.0
//
// The surroundings of a repository that this process opens itself.
#pragma once

#include "openwbem/repository/ServiceEnvironmentIFC.hpp"

namespace KOVNS2 {

/// Tells the repository where its files are, and hands it its own handle when it has to follow
/// associations. Repository, handle and environment then hold each other: whoever sets the handle
/// clears it again.
class ServiceEnv_Associators : public OpenWBEM::ServiceEnvironmentIFC {
public:
    explicit ServiceEnv_Associators(OpenWBEM::String prefix);

    /// The repository directory below the prefix for ConfigOpts::DATADIR_opt, else the default.
    OpenWBEM::String getConfigItem(const OpenWBEM::String& name,
                                   const OpenWBEM::String& defaultValue) const override;
    OpenWBEM::CIMOMHandleIFCRef getCIMOMHandle(OpenWBEM::OperationContext& context,
                                               EBypassProvidersFlag bypassProviders) const override;

    void setHandle(const OpenWBEM::CIMOMHandleIFCRef& handle) { m_handle = handle; }

private:
    OpenWBEM::String m_prefix;
    OpenWBEM::CIMOMHandleIFCRef m_handle;
};

}  // namespace KOVNS2
