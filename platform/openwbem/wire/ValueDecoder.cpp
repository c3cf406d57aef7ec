// SPDX-License-Identifier: Apache-2.0
//
// Part of Decoder: values. The declared type, the union's member and the values must agree.
#include <limits>

#include "openwbem/wire/CIMCodec.hpp"
#include "openwbem/wire/CIMDecoder.hpp"
#include "openwbem/wire/ValueForms.hpp"

namespace OpenWBEM::Codec {

namespace {

using Arm = wire::Value::Which;

[[noreturn]] void refuse(const char* what) {
    BLOCXX_THROW(CodecException, what);
}

void expectArm(wire::Value::Reader in, Arm arm) {
    if (in.which() != arm) {
        refuse("a value is of another kind than its type");
    }
}

template <class T>
T narrow(auto number) {
    if constexpr (std::is_same_v<T, Char16>) {
        return Char16{narrow<char16_t>(number)};
    } else {
        if (number < std::numeric_limits<T>::min() || number > std::numeric_limits<T>::max()) {
            refuse("a number is out of the range of its type");
        }
        return static_cast<T>(number);
    }
}

template <class T>
T fromText(capnp::Text::Reader in) {
    return T(std::string_view(in.begin(), in.size()));
}

Array<bool> nullsOf(wire::Value::Reader in) {
    const auto list = in.getNulls();
    Array<bool> nulls;
    nulls.reserve(list.size());
    for (const bool null : list) {
        nulls.push_back(null);
    }
    return nulls;
}

/// The elements of an array from a list, each through `convert`; null ones are left empty.
template <class T, class List, class Convert>
CIMValue makeArray(List list, Array<bool> nulls, Convert convert) {
    if (!nulls.empty() && nulls.size() != list.size()) {
        refuse("an array does not say of each element whether it is null");
    }
    Array<T> elements(list.size());
    for (unsigned i = 0; i < list.size(); ++i) {
        if (nulls.empty() || !nulls[i]) {
            elements[i] = convert(list[i]);
        }
    }
    return CIMValue::array<T>(std::move(elements), std::move(nulls));
}

}  // namespace

template <class T>
CIMValue Decoder::getSingle(wire::Value::Reader in) {
    if constexpr (std::is_same_v<T, bool>) {
        expectArm(in, Arm::BOOLEAN);
        return CIMValue(in.getBoolean());
    } else if constexpr (isWireUnsigned<T>) {
        expectArm(in, Arm::UNSIGNED);
        return CIMValue(narrow<T>(in.getUnsigned()));
    } else if constexpr (isWireSigned<T>) {
        expectArm(in, Arm::SIGNED);
        return CIMValue(narrow<T>(in.getSigned()));
    } else if constexpr (std::is_same_v<T, float>) {
        expectArm(in, Arm::REAL32);
        return CIMValue(in.getReal32());
    } else if constexpr (std::is_same_v<T, double>) {
        expectArm(in, Arm::REAL64);
        return CIMValue(in.getReal64());
    } else if constexpr (isWireText<T>) {
        expectArm(in, Arm::TEXT);
        return CIMValue(fromText<T>(in.getText()));
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        expectArm(in, Arm::REFERENCE);
        return CIMValue(get(in.getReference()));
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        expectArm(in, Arm::INSTANCE);
        return CIMValue(get(in.getInstance()));
    } else {
        expectArm(in, Arm::CLASS);
        return CIMValue(get(in.getClass()));
    }
}

template <class T>
CIMValue Decoder::getArray(wire::Value::Reader in) {
    Array<bool> nulls = nullsOf(in);
    const auto make = [&](Arm arm, auto getList, auto convert) {
        expectArm(in, arm);
        const auto list = getList();
        charge(list.size(), sizeof(T));
        return makeArray<T>(list, std::move(nulls), convert);
    };
    [[maybe_unused]] const auto same = [](auto element) { return element; };
    [[maybe_unused]] const auto object = [&decoder = *this](auto element) {
        return decoder.get(element);
    };
    if constexpr (std::is_same_v<T, bool>) {
        return make(
            Arm::BOOLEANS, [&] { return in.getBooleans(); }, same);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        return make(
            Arm::BYTES, [&] { return in.getBytes(); }, same);
    } else if constexpr (isWireUnsigned<T>) {
        return make(
            Arm::UNSIGNEDS, [&] { return in.getUnsigneds(); }, narrow<T, uint64_t>);
    } else if constexpr (isWireSigned<T>) {
        return make(
            Arm::SIGNEDS, [&] { return in.getSigneds(); }, narrow<T, int64_t>);
    } else if constexpr (std::is_same_v<T, float>) {
        return make(
            Arm::REAL32S, [&] { return in.getReal32s(); }, same);
    } else if constexpr (std::is_same_v<T, double>) {
        return make(
            Arm::REAL64S, [&] { return in.getReal64s(); }, same);
    } else if constexpr (isWireText<T>) {
        return make(
            Arm::TEXTS, [&] { return in.getTexts(); }, fromText<T>);
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return make(
            Arm::REFERENCES, [&] { return in.getReferences(); }, object);
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return make(
            Arm::INSTANCES, [&] { return in.getInstances(); }, object);
    } else {
        return make(
            Arm::CLASSES, [&] { return in.getClasses(); }, object);
    }
}

CIMValue Decoder::get(wire::Value::Reader in) {
    if (++m_depth > MAX_OBJECT_DEPTH) {
        refuse("objects are nested too deeply");
    }
    const auto number = static_cast<uint16_t>(in.getType());
    const auto type = number > CIMDataType::EMBEDDEDCLASS ? CIMDataType::INVALID
                                                          : static_cast<CIMDataType::Type>(number);
    CIMValue value = ValueDetail::withType(type, [&]<class T>(std::type_identity<T>) -> CIMValue {
        if constexpr (std::is_void_v<T>) {
            refuse("a value has an unknown type");
        } else {
            return in.getIsArray() ? getArray<T>(in) : getSingle<T>(in);
        }
    });
    --m_depth;
    return value;
}

}  // namespace OpenWBEM::Codec
