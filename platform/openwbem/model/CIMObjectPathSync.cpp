// SPDX-License-Identifier: Apache-2.0
//
// Part of CIMObjectPath: gives the keys of a path the types that they have in its class.
#include <cmath>
#include <utility>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/NameIndex.hpp"
#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/model/ValueTypes.hpp"

namespace OpenWBEM {

namespace {

/// Null when the integer is out of T's range.
template <class T>
CIMValue toInteger(const CIMValue& value) {
    if (value.getType() == CIMDataType::UINT64) {
        const auto number = value.get<uint64_t>();
        return std::in_range<T>(number) ? CIMValue(static_cast<T>(number)) : CIMValue();
    }
    // Every other integer type fits in sint64.
    const int64_t number = value.toSigned();
    return std::in_range<T>(number) ? CIMValue(static_cast<T>(number)) : CIMValue();
}

CIMValue toInteger(const CIMValue& value, CIMDataType::Type type) {
    return ValueDetail::withType(type, [&]<class T>(std::type_identity<T>) {
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
            return toInteger<T>(value);
        } else {
            return CIMValue();
        }
    });
}

double toDouble(const CIMValue& value) {
    switch (value.getType()) {
        case CIMDataType::REAL32:
            return static_cast<double>(value.get<float>());
        case CIMDataType::REAL64:
            return value.get<double>();
        case CIMDataType::UINT64:
            return static_cast<double>(value.get<uint64_t>());
        default:
            return static_cast<double>(value.toSigned());
    }
}

CIMValue toReal(const CIMValue& value, CIMDataType::Type type) {
    const double number = toDouble(value);
    if (type == CIMDataType::REAL64) {
        return CIMValue(number);
    }
    // The least number that rounds to infinity, half a step above the greatest real32, whose
    // shortest text reads as a slightly greater number.
    constexpr double TOO_BIG = 0x1.ffffffp127;
    if (std::fabs(number) >= TOO_BIG) {
        return CIMValue();
    }
    return CIMValue(static_cast<float>(number));
}

CIMValue fromText(const String& text, CIMDataType::Type type) {
    if (type == CIMDataType::DATETIME) {
        const auto dateTime = CIMDateTime::parse(text);
        return dateTime ? CIMValue(*dateTime) : CIMValue();
    }
    return type == CIMDataType::REFERENCE ? CIMValue(CIMObjectPath::parse(text)) : CIMValue();
}

/// Converts a value to a type. Null when the type cannot hold it.
CIMValue convert(const CIMValue& value, const CIMDataType& wanted) {
    const CIMDataType::Type type = wanted.getType();
    const CIMDataType::Type given = value.getType();
    if (value.isArray() || wanted.isArray()) {
        return CIMValue();
    }
    if (given == type) {
        return value;
    }
    const bool integer = CIMDataType::isInteger(given);
    if (CIMDataType::isInteger(type)) {
        return integer ? toInteger(value, type) : CIMValue();
    }
    if (CIMDataType::isReal(type)) {
        return integer || CIMDataType::isReal(given) ? toReal(value, type) : CIMValue();
    }
    return given == CIMDataType::STRING ? fromText(value.get<String>(), type) : CIMValue();
}

[[noreturn]] void failKey(const CIMClass& cls, const String& key, const String& why) {
    OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                       "key " + key + " of a path of class " + cls.getName() + ": " + why);
}

CIMProperty syncKey(const CIMClass& cls, const CIMProperty& declared, const CIMValue& given) {
    CIMValue value;
    try {
        value = convert(given, declared.getDataType());
    } catch (const CIMException& e) {
        failKey(cls, declared.getName(), e.getMessage());
    }
    if (value.isNull()) {
        failKey(cls, declared.getName(),
                ModelSupport::describe(declared.getDataType()) + " cannot hold " +
                    (given.isNull() ? "null" : "\"" + given.toString().substr(0, 100) + "\""));
    }
    CIMProperty key(declared.getName(), declared.getDataType(), std::move(value));
    key.setKey(true);
    return key;
}

}  // namespace

CIMObjectPath& CIMObjectPath::syncWithClass(const CIMClass& cls) {
    const CIMPropertyArray declaredKeys = cls.getKeys();
    if (declaredKeys.size() == 1 && getKeys().size() == 1 && getKeys()[0].getName().empty()) {
        return setKeys({syncKey(cls, declaredKeys[0], getKeys()[0].getValue())});
    }
    const NameIndex givenKeys(getKeys());
    CIMPropertyArray keys;
    keys.reserve(declaredKeys.size());
    for (const CIMProperty& declared : declaredKeys) {
        const auto given = givenKeys.find(declared.getName());
        if (!given) {
            failKey(cls, declared.getName(), "is missing");
        }
        keys.push_back(syncKey(cls, declared, getKeys()[*given].getValue()));
    }
    // Every declared key was found, so any further key is unknown or given twice.
    if (keys.size() != getKeys().size()) {
        const NameIndex known(declaredKeys);
        for (const CIMProperty& given : getKeys()) {
            if (!known.find(given.getName())) {
                failKey(cls, given.getName(), "the class has no such key");
            }
        }
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           "a path of class " + cls.getName() + " gives a key twice");
    }
    return setKeys(std::move(keys));
}

}  // namespace OpenWBEM
