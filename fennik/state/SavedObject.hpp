// SPDX-License-Identifier: Apache-2.0
//
// Finds the object to which a line of a namespace's saved MOF belongs. Internal to this room.
#pragma once

#include "blocxx/String.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

struct SavedObject {
    blocxx::String name;    ///< as "the class NS:NAME"
    blocxx::String repair;  ///< what the administrator can do, without a full stop
};

/// `mof` is the result of dumpNamespace(); `line` counts from 1. Returns the namespace itself when
/// the line belongs to no object.
SavedObject findSavedObject(const blocxx::String& mof, size_t line, const blocxx::String& ns,
                            OpenWBEM::CIMOMHandleIFC& handle);

}  // namespace KOVNS2
