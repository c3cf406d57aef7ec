// SPDX-License-Identifier: Apache-2.0
//
// Private to CIMValue: the representations of values, one for each type and form.
#pragma once

#include <algorithm>
#include <bit>
#include <type_traits>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMValue.hpp"

namespace OpenWBEM {

namespace ValueDetail {

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

template <class T>
bool sameElement(const T& a, const T& b) {
    if constexpr (std::is_same_v<T, float>) {
        return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
    } else if constexpr (std::is_same_v<T, double>) {
        return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
    } else {
        return a == b;
    }
}

/// Appends the text of one element (CIMValueText.cpp).
void appendText(String& out, bool value);
void appendText(String& out, uint8_t value);
void appendText(String& out, int8_t value);
void appendText(String& out, uint16_t value);
void appendText(String& out, int16_t value);
void appendText(String& out, uint32_t value);
void appendText(String& out, int32_t value);
void appendText(String& out, uint64_t value);
void appendText(String& out, int64_t value);
void appendText(String& out, float value);
void appendText(String& out, double value);
void appendText(String& out, Char16 value);
void appendText(String& out, const String& value);
void appendText(String& out, const CIMDateTime& value);
void appendText(String& out, const CIMObjectPath& value);
void appendText(String& out, const CIMInstance& value);
void appendText(String& out, const CIMClass& value);

/// The nesting of a value that holds that object. Throws CIMException INVALID_PARAMETER when it is
/// too deep (CIMValueNesting.cpp).
uint8_t nestingOf(const CIMObjectPath& path);
uint8_t nestingOf(const CIMInstance& instance);
uint8_t nestingOf(const CIMClass& cls);
template <class T>
uint8_t nestingOf(const T&) noexcept {
    return 0;
}

template <class T>
uint8_t nestingOf(const Array<T>& elements) {
    uint8_t most = 0;
    if constexpr (std::is_same_v<T, CIMObjectPath> || std::is_same_v<T, CIMInstance> ||
                  std::is_same_v<T, CIMClass>) {
        for (const T& element : elements) {
            most = std::max(most, nestingOf(element));
        }
    }
    return most;
}

template <class T>
class Single final : public CIMValue::Rep {
public:
    explicit Single(T valueIn)
        : Rep(typeOf<T>(), false, ValueDetail::nestingOf(valueIn)), value(std::move(valueIn)) {}
    void appendText(String& out) const override { ValueDetail::appendText(out, value); }
    bool equals(const Rep& other) const override {
        return sameElement(value, static_cast<const Single&>(other).value);
    }
    const T value;
};

template <class T>
class Many final : public CIMValue::Rep {
public:
    Many(Array<T> elementsIn, Array<bool> nullsIn)
        : Rep(typeOf<T>(), true, ValueDetail::nestingOf(elementsIn)),
          elements(std::move(elementsIn)),
          nulls(std::move(nullsIn)) {}
    size_t size() const noexcept override { return elements.size(); }
    bool isNullElement(size_t index) const noexcept override {
        return index < nulls.size() && nulls[index];
    }
    CIMValue element(size_t index) const override {
        return index >= size() || isNullElement(index) ? CIMValue()
                                                       : CIMValue(static_cast<T>(elements[index]));
    }
    void appendText(String& out) const override {
        for (size_t i = 0; i < elements.size(); ++i) {
            if (i != 0) {
                out += ',';
            }
            if (!isNullElement(i)) {
                ValueDetail::appendText(out, static_cast<const T&>(elements[i]));
            }
        }
    }
    bool equals(const Rep& other) const override {
        const auto& that = static_cast<const Many&>(other);
        if (elements.size() != that.elements.size() || nulls != that.nulls) {
            return false;
        }
        for (size_t i = 0; i < elements.size(); ++i) {
            if (!sameElement<T>(elements[i], that.elements[i])) {
                return false;
            }
        }
        return true;
    }
    const Array<T> elements;
    const Array<bool> nulls;  // empty when no element is null
};

}  // namespace ValueDetail
}  // namespace OpenWBEM
