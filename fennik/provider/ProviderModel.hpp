// SPDX-License-Identifier: Apache-2.0
//
// What the units of this room have in common: what they work on, CIM names, their log, and what
// they read alike.
#pragma once

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/undo/FNCleanupActions.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// What the steps of registering and removing providers work on.
struct ProviderTarget {
    OpenWBEM::CIMOMHandleIFCRef handle;  ///< must outlive the undo steps
    String productName;
    String destDir;  ///< put in front of every path of the installed system
    CleanupActions_t& undo;
};

namespace ProviderModel {

using Layout::INTEROP_NS;
using Layout::KOV_NS;

inline constexpr const char* PROVIDER = "KOV_Provider";
inline constexpr const char* OOP1_PROVIDER = "KOV_OOP1Provider";
inline constexpr const char* PRODUCT_PROVIDER = "KOV_ProductProvider";

inline constexpr const char* OOP_REGISTRATION = "OpenWBEM_OOPProviderRegistration";
inline constexpr const char* OOP_PROCESS = "OpenWBEM_OOPProviderProcess";
inline constexpr const char* OOP_CAPABILITIES = "OpenWBEM_OOPProviderCapabilities";
inline constexpr const char* OOP_PROCESS_CAPABILITIES = "OpenWBEM_OOPProviderProcessCapabilities";

using ErrorCode::INVALID_INPUT;

UnitLog log();
/// The log of one step of registering or deregistering; `component` is a literal.
UnitLog log(const char* component);

/// The value of a property as text; empty when it has none.
String text(const OpenWBEM::CIMInstance& instance, const char* property);

/// An instance that has nothing but its class and its keys.
OpenWBEM::CIMInstance keysOnly(const OpenWBEM::CIMObjectPath& path);

/// The path of the record of that product's provider, in namespace "kov".
OpenWBEM::CIMObjectPath providerPath(const String& productName, const String& instanceID);
/// The path of the association between a product and its provider.
OpenWBEM::CIMObjectPath productProviderPath(const String& productName,
                                            const OpenWBEM::CIMObjectPath& provider);

/// What a process in "root" serves, and then the associations that connect it: they were registered
/// with it and have to go and come back with it.
blocxx::Array<OpenWBEM::CIMInstance> capabilitiesOf(OpenWBEM::CIMOMHandleIFC& handle,
                                                    const OpenWBEM::CIMObjectPath& process);

}  // namespace ProviderModel

}  // namespace KOVNS2
