// SPDX-License-Identifier: Apache-2.0
//
// Which object a line of a namespace's saved MOF belongs to. For the sources of this room only.
#pragma once

#include "blocxx/String.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

struct SavedObject {
    blocxx::String name;    ///< as in "the class NS:NAME"
    blocxx::String repair;  ///< what its administrator can do, without a full stop
};

/// `line` counts from 1. `mof` is what dumpNamespace() has made of the namespace.
SavedObject findSavedObject(const blocxx::String& mof, size_t line, const blocxx::String& ns,
                            OpenWBEM::CIMOMHandleIFC& handle);

}  // namespace KOVNS2
