// SPDX-License-Identifier: Apache-2.0
//
// The surroundings of a repository that this process opens itself.
#pragma once

#include "openwbem/repository/ServiceEnvironmentIFC.hpp"

namespace OpenWBEM {

/// Names the directory of the repository, and the handle that sees what associations lead to. That
/// is one on the same repository, which holds this environment: whoever sets it clears it again.
class LocalEnvironment : public ServiceEnvironmentIFC {
public:
    explicit LocalEnvironment(String directory) : m_directory(std::move(directory)) {}

    /// The directory for ConfigOpts::DATADIR_opt, for anything else the default.
    String getConfigItem(const String& name, const String& defaultValue) const override {
        return name == ConfigOpts::DATADIR_opt ? m_directory : defaultValue;
    }
    CIMOMHandleIFCRef getCIMOMHandle(OperationContext& /*context*/,
                                     EBypassProvidersFlag /*bypassProviders*/) const override {
        return m_handle;
    }
    void setHandle(CIMOMHandleIFCRef handle) { m_handle = std::move(handle); }

private:
    String m_directory;
    CIMOMHandleIFCRef m_handle;
};
using LocalEnvironmentRef = blocxx::IntrusiveReference<LocalEnvironment>;

}  // namespace OpenWBEM
