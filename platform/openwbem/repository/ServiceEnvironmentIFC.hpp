// SPDX-License-Identifier: Apache-2.0
//
// What a repository needs from its environment: its configuration, and a handle for reading the
// objects at the other end of associations.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM {

namespace ConfigOpts {
/// The directory that holds the repository.
inline constexpr const char* DATADIR_opt = "owcimomd.datadir";
}  // namespace ConfigOpts

/// The context of one operation: whose it is.
class OperationContext {
public:
    virtual ~OperationContext() = default;
};

/// Operations that this process carries out for itself.
class LocalOperationContext : public OperationContext {};

class ServiceEnvironmentIFC : public blocxx::IntrusiveCountableBase {
public:
    enum EBypassProvidersFlag { E_USE_PROVIDERS, E_BYPASS_PROVIDERS };

    virtual String getConfigItem(const String& name, const String& defaultValue) const = 0;
    virtual CIMOMHandleIFCRef getCIMOMHandle(OperationContext& context,
                                             EBypassProvidersFlag bypassProviders) const = 0;
};
using ServiceEnvironmentIFCRef = blocxx::IntrusiveReference<ServiceEnvironmentIFC>;

}  // namespace OpenWBEM
