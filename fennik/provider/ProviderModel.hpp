// SPDX-License-Identifier: Apache-2.0
//
// Shared by the sources of this room: the target of the steps, CIM names, paths and the log.
#pragma once

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/undo/FNCleanupActions.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The target of the steps of registering and removing providers.
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

// What a provider's record says of its MOF.
inline constexpr const char* MOF_NAMESPACE = "ProviderMofNamespace";
inline constexpr const char* MOF_INSTANCES = "ProviderMofInstanceNames";
inline constexpr const char* MOF_CLASSES = "ProviderMofClassNames";
inline constexpr const char* MOF_QUALIFIER_TYPES = "ProviderMofQualifierTypeNames";

inline constexpr const char* OOP_REGISTRATION = "OpenWBEM_OOPProviderRegistration";
/// Of a registration: the provider's own privilege file, or NULL.
inline constexpr const char* PRIVILEGES_FILE = "MonitorPrivilegesFile";
inline constexpr const char* OOP_PROCESS = "OpenWBEM_OOPProviderProcess";
inline constexpr const char* OOP_CAPABILITIES = "OpenWBEM_OOPProviderCapabilities";
inline constexpr const char* OOP_PROCESS_CAPABILITIES = "OpenWBEM_OOPProviderProcessCapabilities";

using ErrorCode::INVALID_INPUT;

UnitLog log();
/// The log of one step of registering or deregistering; `component` is a literal.
UnitLog log(const char* component);

/// The value of a property as text; empty for NULL.
String text(const OpenWBEM::CIMInstance& instance, const char* property);

/// The instance of that path with its keys and no other property.
OpenWBEM::CIMInstance keysOnly(const OpenWBEM::CIMObjectPath& path);

/// The path of the provider's record in namespace "kov".
OpenWBEM::CIMObjectPath providerPath(const String& productName, const String& instanceID);
/// The path of the association between a product and its provider.
OpenWBEM::CIMObjectPath productProviderPath(const String& productName,
                                            const OpenWBEM::CIMObjectPath& provider);

/// The capabilities of a process in "root", followed by the associations between them and the
/// process. They were registered with it, and are removed and restored with it.
blocxx::Array<OpenWBEM::CIMInstance> capabilitiesOf(OpenWBEM::CIMOMHandleIFC& handle,
                                                    const OpenWBEM::CIMObjectPath& process);

}  // namespace ProviderModel

}  // namespace KOVNS2
