// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMValue.hpp"

#include <cmath>

#include "blocxx/Utf8.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMValueRep.hpp"

namespace OpenWBEM {

using ValueDetail::ArrayRep;
using ValueDetail::SingleRep;

namespace {

/// Throws CIMException INVALID_PARAMETER for a value that MOF cannot express.
template <class T>
void checkStorable(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(value)) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, "A real value must be a finite number");
        }
    } else if constexpr (std::is_same_v<T, String>) {
        if (!CIMValue::isStorableString(value)) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               "A string value must be valid UTF-8 without U+0000");
        }
    } else if constexpr (std::is_same_v<T, CIMObjectPath> || std::is_same_v<T, CIMInstance> ||
                         std::is_same_v<T, CIMClass>) {
        if (!value) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               "A reference or embedded object must not be null");
        }
    }
}

template <class T>
const CIMValue::Rep* makeSingle(T value) {
    if constexpr (std::is_same_v<T, bool>) {
        // All booleans share two representations.
        static const boost::intrusive_ptr<const CIMValue::Rep> REPS[] = {new SingleRep<bool>(false),
                                                                         new SingleRep<bool>(true)};
        return REPS[value ? 1 : 0].get();
    } else {
        checkStorable(value);
        return new SingleRep<T>(std::move(value));
    }
}

String formOf(const CIMValue& value) {
    if (value.isNull()) {
        return "null";
    }
    const String name = value.getType() == CIMDataType::EMBEDDEDINSTANCE ? "embedded instance"
                        : value.getType() == CIMDataType::EMBEDDEDCLASS
                            ? "embedded class"
                            : CIMDataType::toString(value.getType());
    return value.isArray() ? "an array of " + name : "of type " + name;
}

[[noreturn]] void throwCast(const CIMValue& value, const String& wanted) {
    BLOCXX_THROW(ValueCastException, "The value is " + formOf(value) + ", not " + wanted);
}

template <class Number>
Number toNumber(const CIMValue& value, const CIMValue::Rep* rep, const char* wanted) {
    if (rep == nullptr || rep->isArray || !CIMDataType::isInteger(rep->type)) {
        throwCast(value, "an integer");
    }
    return ValueDetail::withType(rep->type, [&](auto id) -> Number {
        using T = typename decltype(id)::type;
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
            const T number = static_cast<const SingleRep<T>*>(rep)->value;
            if (!std::in_range<Number>(number)) {
                BLOCXX_THROW(ValueCastException, "The value " + std::to_string(number) +
                                                     " is out of range for " + wanted);
            }
            return static_cast<Number>(number);
        }
        throwCast(value, "an integer");
    });
}

template <class T>
CIMValue collect(CIMDataType::Type type, const Array<CIMValue>& values) {
    Array<T> elements(values.size());
    Array<bool> nulls(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i].isNull()) {
            nulls[i] = true;
        } else if (values[i].getType() != type || values[i].isArray()) {
            throwCast(values[i],
                      String("an element of an array of ") + CIMDataType::toString(type));
        } else {
            elements[i] = values[i].get<T>();
        }
    }
    return CIMValue::array<T>(std::move(elements), std::move(nulls));
}

}  // namespace

template <ValueDetail::Held T>
CIMValue::CIMValue(T value) : m_rep(makeSingle(std::move(value))) {}
CIMValue::CIMValue(const char* value) : CIMValue(String(value)) {}

template <ValueDetail::Held T>
CIMValue CIMValue::array(Array<T> elements, Array<bool> nulls) {
    if (!nulls.empty() && nulls.size() != elements.size()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "The null marks must be as many as the elements");
    }
    bool anyNull = false;
    for (size_t i = 0; i < elements.size(); ++i) {
        if (!nulls.empty() && nulls[i]) {
            elements[i] = T();
            anyNull = true;
        } else {
            checkStorable<T>(elements[i]);
        }
    }
    if (!anyNull) {
        nulls.clear();
    }
    return CIMValue(new ArrayRep<T>(std::move(elements), std::move(nulls)));
}

CIMValue CIMValue::arrayOf(CIMDataType::Type type, const Array<CIMValue>& elements) {
    return ValueDetail::withType(type, [&](auto id) -> CIMValue {
        using T = typename decltype(id)::type;
        if constexpr (std::is_void_v<T>) {
            BLOCXX_THROW(ValueCastException, "An array must have a type");
        } else {
            return collect<T>(type, elements);
        }
    });
}

CIMDataType::Type CIMValue::getType() const noexcept {
    return m_rep ? m_rep->type : CIMDataType::INVALID;
}

bool CIMValue::isArray() const noexcept {
    return m_rep && m_rep->isArray;
}

size_t CIMValue::getArraySize() const noexcept {
    return m_rep ? m_rep->size() : 0;
}

bool CIMValue::isNullElement(size_t index) const noexcept {
    return m_rep && m_rep->isNullElement(index);
}

CIMValue CIMValue::getElement(size_t index) const {
    return m_rep ? m_rep->element(index) : CIMValue();
}

template <class T>
const T& CIMValue::get() const {
    constexpr CIMDataType::Type type = ValueDetail::typeOf<T>();
    if (!m_rep || m_rep->isArray || m_rep->type != type) {
        throwCast(*this, CIMDataType::toString(type));
    }
    return static_cast<const SingleRep<T>*>(m_rep.get())->value;
}

template <class T>
const Array<T>& CIMValue::getArray() const {
    constexpr CIMDataType::Type type = ValueDetail::typeOf<T>();
    if (!m_rep || !m_rep->isArray || m_rep->type != type) {
        throwCast(*this, String("an array of ") + CIMDataType::toString(type));
    }
    return static_cast<const ArrayRep<T>*>(m_rep.get())->elements;
}

#define OPENWBEM_INSTANTIATE(T)                                  \
    template CIMValue::CIMValue(T);                              \
    template CIMValue CIMValue::array<T>(Array<T>, Array<bool>); \
    template const T& CIMValue::get<T>() const;                  \
    template const Array<T>& CIMValue::getArray<T>() const;
OPENWBEM_INSTANTIATE(bool)
OPENWBEM_INSTANTIATE(uint8_t)
OPENWBEM_INSTANTIATE(int8_t)
OPENWBEM_INSTANTIATE(uint16_t)
OPENWBEM_INSTANTIATE(int16_t)
OPENWBEM_INSTANTIATE(uint32_t)
OPENWBEM_INSTANTIATE(int32_t)
OPENWBEM_INSTANTIATE(uint64_t)
OPENWBEM_INSTANTIATE(int64_t)
OPENWBEM_INSTANTIATE(float)
OPENWBEM_INSTANTIATE(double)
OPENWBEM_INSTANTIATE(Char16)
OPENWBEM_INSTANTIATE(String)
OPENWBEM_INSTANTIATE(CIMDateTime)
OPENWBEM_INSTANTIATE(CIMObjectPath)
OPENWBEM_INSTANTIATE(CIMInstance)
OPENWBEM_INSTANTIATE(CIMClass)
#undef OPENWBEM_INSTANTIATE

int64_t CIMValue::toSigned() const {
    return toNumber<int64_t>(*this, m_rep.get(), "sint64");
}

uint64_t CIMValue::toUnsigned() const {
    return toNumber<uint64_t>(*this, m_rep.get(), "uint64");
}

String CIMValue::toString() const {
    String text;
    if (m_rep) {
        m_rep->appendText(text);
    }
    return text;
}

bool operator==(const CIMValue& a, const CIMValue& b) {
    if (a.m_rep == b.m_rep) {
        return true;
    }
    return a.m_rep && b.m_rep && a.m_rep->type == b.m_rep->type &&
           a.m_rep->isArray == b.m_rep->isArray && a.m_rep->equals(*b.m_rep);
}

bool CIMValue::isStorableString(std::string_view text) noexcept {
    return text.find('\0') == std::string_view::npos &&
           blocxx::Utf8::findInvalid(text) == std::string_view::npos;
}

}  // namespace OpenWBEM
