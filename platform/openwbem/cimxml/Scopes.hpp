// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: the attributes of SCOPE (DSP0201 5.2.2).
#pragma once

#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::CIMXML {

struct ScopeName {
    const char* name;
    CIMScope::Bits bit;
};

inline constexpr ScopeName SCOPES[] = {
    {"CLASS", CIMScope::CLASS},          {"ASSOCIATION", CIMScope::ASSOCIATION},
    {"REFERENCE", CIMScope::REFERENCE},  {"PROPERTY", CIMScope::PROPERTY},
    {"METHOD", CIMScope::METHOD},        {"PARAMETER", CIMScope::PARAMETER},
    {"INDICATION", CIMScope::INDICATION}};

}  // namespace OpenWBEM::CIMXML
