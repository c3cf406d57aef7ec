// SPDX-License-Identifier: Apache-2.0
//
// CIM names, paths and the log that the sources of this room share.
#pragma once

#include "fennik/common/UnitLog.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace KOVNS2::NamespaceModel {

using blocxx::String;
using blocxx::StringArray;

using Layout::KOV_NS;
using Layout::SECURITY_NS;
inline constexpr const char* USER_ACL = "OpenWBEM_UserACL";
inline constexpr const char* RESERVED_NAMESPACE = "KOV_ReservedNamespace";
inline constexpr const char* PRODUCT_RESERVED_NAMESPACE = "KOV_ProductReservedNamespace";
// The capabilities that OpenWBEM_UserACL grants to a user, and that a saved state has.
inline constexpr const char* READ_WRITE = "rwRW";
inline constexpr const char* READ_ONLY = "rR";

UnitLog log();

// The paths of the instances that registering creates for a namespace.
OpenWBEM::CIMObjectPath accessPath(const String& ns, const String& user);
OpenWBEM::CIMObjectPath reservationPath(const String& ns);
OpenWBEM::CIMObjectPath reservedByPath(const String& productName, const String& ns);

/// Throws FennikException `errorCode` for the first namespace that the product may not own.
void CheckNSBeginWithProd(const StringArray& namespaces, const String& productName, int errorCode);

}  // namespace KOVNS2::NamespaceModel
