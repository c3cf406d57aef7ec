// SPDX-License-Identifier: Apache-2.0
//
// Private to CIMValue: the representations of values, one for each type and form.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>

#include "openwbem/model/ValueText.hpp"
#include "openwbem/model/ValueTypes.hpp"

namespace OpenWBEM {

namespace ValueDetail {

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

// Append the text of one element (CIMValueText.cpp).
void appendText(String& out, bool value);
void appendText(String& out, Char16 value);
void appendText(String& out, const String& value);
void appendText(String& out, const CIMDateTime& value);
void appendText(String& out, const CIMObjectPath& value);
void appendText(String& out, const CIMInstance& value);
void appendText(String& out, const CIMClass& value);
template <class Number>
requires std::integral<Number> || std::floating_point<Number>
void appendText(String& out, Number value) {
    ValueText::appendNumber(out, value);
}

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
class SingleRep final : public CIMValue::Rep {
public:
    explicit SingleRep(T valueIn)
        : Rep(typeOf<T>(), false, ValueDetail::nestingOf(valueIn)), value(std::move(valueIn)) {}
    void appendText(String& out) const override { ValueDetail::appendText(out, value); }
    bool equals(const Rep& other) const override {
        return sameElement(value, static_cast<const SingleRep&>(other).value);
    }
    const T value;
};

template <class T>
class ArrayRep final : public CIMValue::Rep {
public:
    ArrayRep(Array<T> elementsIn, Array<bool> nullsIn)
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
        const auto& that = static_cast<const ArrayRep&>(other);
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
