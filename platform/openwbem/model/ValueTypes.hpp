// SPDX-License-Identifier: Apache-2.0
//
// The C++ type that holds the values of each CIM type.
#pragma once

#include <type_traits>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM::ValueDetail {

/// Calls `f` with std::type_identity of the C++ type that holds values of `type`, or of void for
/// INVALID.
template <class F>
constexpr auto withType(CIMDataType::Type type, F f) {
    switch (type) {
#define OPENWBEM_TYPE_CASE(TYPE, T) \
    case CIMDataType::TYPE:         \
        return f(std::type_identity<T>())
        OPENWBEM_TYPE_CASE(BOOLEAN, bool);
        OPENWBEM_TYPE_CASE(UINT8, uint8_t);
        OPENWBEM_TYPE_CASE(SINT8, int8_t);
        OPENWBEM_TYPE_CASE(UINT16, uint16_t);
        OPENWBEM_TYPE_CASE(SINT16, int16_t);
        OPENWBEM_TYPE_CASE(UINT32, uint32_t);
        OPENWBEM_TYPE_CASE(SINT32, int32_t);
        OPENWBEM_TYPE_CASE(UINT64, uint64_t);
        OPENWBEM_TYPE_CASE(SINT64, int64_t);
        OPENWBEM_TYPE_CASE(REAL32, float);
        OPENWBEM_TYPE_CASE(REAL64, double);
        OPENWBEM_TYPE_CASE(CHAR16, Char16);
        OPENWBEM_TYPE_CASE(STRING, String);
        OPENWBEM_TYPE_CASE(DATETIME, CIMDateTime);
        OPENWBEM_TYPE_CASE(REFERENCE, CIMObjectPath);
        OPENWBEM_TYPE_CASE(EMBEDDEDINSTANCE, CIMInstance);
        OPENWBEM_TYPE_CASE(EMBEDDEDCLASS, CIMClass);
#undef OPENWBEM_TYPE_CASE
        default:
            return f(std::type_identity<void>());
    }
}

/// The CIM type of a C++ type.
template <class T>
consteval CIMDataType::Type typeOf() {
    for (int type = CIMDataType::BOOLEAN; type <= CIMDataType::EMBEDDEDCLASS; ++type) {
        const auto candidate = static_cast<CIMDataType::Type>(type);
        if (withType(candidate,
                     [](auto id) { return std::is_same_v<typename decltype(id)::type, T>; })) {
            return candidate;
        }
    }
    return CIMDataType::INVALID;
}

}  // namespace OpenWBEM::ValueDetail
