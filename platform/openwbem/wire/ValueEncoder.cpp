// SPDX-License-Identifier: Apache-2.0
//
// Part of Encoder: values. Each CIM type has a member in the union of wire::Value.
#include "openwbem/wire/CIMCodec.hpp"
#include "openwbem/wire/CIMEncoder.hpp"
#include "openwbem/wire/ValueForms.hpp"

namespace OpenWBEM::Codec {

namespace {

uint64_t toUnsigned(Char16 value) {
    return value.unit;
}
uint64_t toUnsigned(uint64_t value) {
    return value;
}

String toText(const CIMDateTime& value) {
    return value.toString();
}
const String& toText(const String& value) {
    return value;
}

}  // namespace

template <class T>
void Encoder::putSingle(wire::Value::Builder out, const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        out.setBoolean(value);
    } else if constexpr (isWireUnsigned<T>) {
        out.setUnsigned(toUnsigned(value));
    } else if constexpr (isWireSigned<T>) {
        out.setSigned(value);
    } else if constexpr (std::is_same_v<T, float>) {
        out.setReal32(value);
    } else if constexpr (std::is_same_v<T, double>) {
        out.setReal64(value);
    } else if constexpr (isWireText<T>) {
        out.setText(toText(value));
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        put(out.initReference(), value);
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        put(out.initInstance(), value);
    } else {
        put(out.initClass(), value, Form::WHOLE);
    }
}

template <class List, class T>
void Encoder::putObjects(List list, const CIMValue& value, const Array<T>& elements) {
    for (unsigned i = 0; i < list.size(); ++i) {
        if (value.isNullElement(i)) {
            continue;
        }
        if constexpr (std::is_same_v<T, CIMClass>) {
            put(list[i], elements[i], Form::WHOLE);
        } else {
            put(list[i], elements[i]);
        }
    }
}

template <class T>
void Encoder::putArray(wire::Value::Builder out, const CIMValue& value) {
    const Array<T>& elements = value.getArray<T>();
    const auto size = static_cast<unsigned>(elements.size());
    [[maybe_unused]] const auto fill = [&](auto list, auto convert) {
        for (unsigned i = 0; i < size; ++i) {
            list.set(i, convert(elements[i]));
        }
    };
    [[maybe_unused]] const auto same = [](auto element) { return element; };
    if constexpr (std::is_same_v<T, bool>) {
        fill(out.initBooleans(size), same);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        out.setBytes(kj::ArrayPtr<const kj::byte>(elements.data(), elements.size()));
    } else if constexpr (isWireUnsigned<T>) {
        fill(out.initUnsigneds(size), [](T element) { return toUnsigned(element); });
    } else if constexpr (isWireSigned<T>) {
        fill(out.initSigneds(size), same);
    } else if constexpr (std::is_same_v<T, float>) {
        fill(out.initReal32s(size), same);
    } else if constexpr (std::is_same_v<T, double>) {
        fill(out.initReal64s(size), same);
    } else if constexpr (isWireText<T>) {
        auto list = out.initTexts(size);
        for (unsigned i = 0; i < size; ++i) {
            list.set(i, toText(elements[i]));
        }
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        putObjects(out.initReferences(size), value, elements);
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        putObjects(out.initInstances(size), value, elements);
    } else {
        putObjects(out.initClasses(size), value, elements);
    }
}

void Encoder::put(wire::Value::Builder out, const CIMValue& value) {
    if (++m_depth > MAX_OBJECT_DEPTH) {
        BLOCXX_THROW(CodecException, "the object holds objects nested too deeply to be stored");
    }
    out.setType(static_cast<wire::Type>(value.getType()));
    out.setIsArray(value.isArray());
    ValueDetail::withType(value.getType(), [&]<class T>(std::type_identity<T>) {
        if constexpr (!std::is_void_v<T>) {
            if (value.isArray()) {
                putArray<T>(out, value);
            } else {
                putSingle<T>(out, value.get<T>());
            }
        }
    });
    bool hasNull = false;
    for (size_t i = 0; i < value.getArraySize() && !hasNull; ++i) {
        hasNull = value.isNullElement(i);
    }
    if (hasNull) {
        auto nulls = out.initNulls(static_cast<unsigned>(value.getArraySize()));
        for (unsigned i = 0; i < nulls.size(); ++i) {
            nulls.set(i, value.isNullElement(i));
        }
    }
    --m_depth;
}

}  // namespace OpenWBEM::Codec
