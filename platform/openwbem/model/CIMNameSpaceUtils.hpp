// SPDX-License-Identifier: Apache-2.0
//
// Lists and creates namespaces through operations on instances: each namespace is an instance of
// CIM_Namespace in the interop namespace.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM::CIMNameSpaceUtils {

/// Creates a namespace by creating its CIM_Namespace instance in `interopNs`, with the properties
/// ClassInfo and DescriptionOfClassInfo. Throws CIMException ALREADY_EXISTS and what the handle
/// throws.
void createCIM_Namespace(CIMOMHandleIFC& handle, const String& ns, uint16_t classInfo,
                         const String& descriptionOfClassInfo, const String& interopNs);

/// The names of all namespaces, from the CIM_Namespace instances of `interopNs`.
StringArray enumCIM_Namespace(CIMOMHandleIFC& handle, const String& interopNs);
/// The same, one by one.
void enumCIM_Namespace(CIMOMHandleIFC& handle, const String& interopNs,
                       StringResultHandlerIFC& result);

}  // namespace OpenWBEM::CIMNameSpaceUtils
