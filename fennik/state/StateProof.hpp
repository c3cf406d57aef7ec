// SPDX-License-Identifier: Apache-2.0
//
// Proves, before anything is written, that what was gathered can be restored: it comes back from
// XML, the readers that restoring uses take it, and each namespace is left alone by the repairs and
// compiles against nothing but itself. So a restore fails only where its machine differs: a name
// that is taken, a full disk. For the sources of this room only.
#pragma once

#include "fennik/state/StateNodes.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2::StateProof {

/// Throws FennikException that names the product, the object and the repair, when the Product
/// element of the product of that name could not be restored. The handle is the one that the
/// element was gathered through; its interop namespace stands for that of a new installation.
void prove(const XMLNode& product, const String& name, const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2::StateProof
