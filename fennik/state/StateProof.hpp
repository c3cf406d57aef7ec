// SPDX-License-Identifier: Apache-2.0
//
// Proves, before anything is written, that the gathered state can be restored: it survives XML
// unchanged, the functions that restoring uses can read it, the repairs leave each namespace
// unchanged, and each namespace compiles by itself. Restoring can then fail only for reasons of its
// machine, such as a name in use or a full disk. Internal to this room.
#pragma once

#include "fennik/state/StateNodes.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2::StateProof {

/// Throws FennikException, which names the product, the object and the repair, when the Product
/// element could not be restored. `name` is the product's. The element was gathered through
/// `handle`, whose interop namespace stands in for that of a new installation.
void prove(const XMLNode& product, const String& name, const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2::StateProof
