// SPDX-License-Identifier: Apache-2.0
//
// Part of Decoder: values.
#include "openwbem/cimxml/Decoder.hpp"
#include "openwbem/cimxml/Limits.hpp"
#include "openwbem/model/ValueTypes.hpp"

namespace OpenWBEM::CIMXML {

namespace {

/// Whether values of that type are the text of a VALUE.
template <class T>
inline constexpr bool isSimple = !std::is_void_v<T> && !std::is_same_v<T, CIMObjectPath> &&
                                 !std::is_same_v<T, CIMInstance> && !std::is_same_v<T, CIMClass>;

}  // namespace

StringArray Decoder::texts() {
    StringArray texts;
    while (m_reader.child()) {
        if (!m_reader.is("VALUE")) {
            m_reader.misplaced();
        }
        texts.push_back(m_reader.text());
    }
    return texts;
}

CIMDataType::Type Decoder::type(const String& name) const {
    const auto type = CIMDataType::fromKeyword(name);
    if (!type) {
        m_reader.notValid("the attribute TYPE does not name a type");
    }
    return *type;
}

/// A single value of a simple type.
CIMValue Decoder::valueOf(CIMDataType::Type type, String text) const {
    return ValueDetail::withType(type, [&]<class T>(std::type_identity<T>) -> CIMValue {
        if constexpr (isSimple<T>) {
            return CIMValue(fromText<T>(std::move(text)));
        } else {
            m_reader.misplaced();
        }
    });
}

template <class T>
T Decoder::single() {
    if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return reference();
    } else {
        return fromText<T>(m_reader.text());
    }
}

template <class T>
CIMValue Decoder::array() {
    constexpr const char* ELEMENT = std::is_same_v<T, CIMObjectPath> ? "VALUE.REFERENCE" : "VALUE";
    Array<T> elements;
    Array<bool> nulls;
    while (m_reader.child()) {
        const bool isNull = m_reader.is("VALUE.NULL");
        nulls.push_back(isNull);
        if (isNull) {
            m_reader.end();
            elements.emplace_back();
        } else if (m_reader.is(ELEMENT)) {
            elements.push_back(single<T>());
        } else {
            m_reader.misplaced();
        }
    }
    return CIMValue::array<T>(std::move(elements), std::move(nulls));
}

/// The object that the text of a VALUE is.
CIMValue Decoder::embedded(std::string_view embeds) {
    if (m_embedded == Limits::MAX_EMBEDDED) {
        BLOCXX_THROW(ContentException, "objects are embedded more than " +
                                           std::to_string(Limits::MAX_EMBEDDED) + " deep");
    }
    Reader reader(m_reader.text());
    Decoder inner(reader, m_embedded + 1, true);
    try {
        reader.root();
        const bool isClass = embeds == "object" && reader.is("CLASS");
        if (!isClass && !reader.is("INSTANCE")) {
            reader.misplaced();
        }
        CIMValue value = isClass ? CIMValue(inner.cls()) : CIMValue(inner.instance());
        reader.finish();
        return value;
    } catch (const RequestException& e) {
        BLOCXX_THROW(ContentException, String("its embedded object, ") + e.getMessage());
    }
}

CIMValue Decoder::embeddedArray(std::string_view embeds) {
    Array<CIMValue> elements;
    CIMDataType::Type type = CIMDataType::INVALID;
    while (m_reader.child()) {
        if (m_reader.is("VALUE.NULL")) {
            m_reader.end();
            elements.emplace_back();
            continue;
        }
        if (!m_reader.is("VALUE")) {
            m_reader.misplaced();
        }
        elements.push_back(embedded(embeds));
        if (type == CIMDataType::INVALID) {
            type = elements.back().getType();
        }
        if (elements.back().getType() != type) {
            BLOCXX_THROW(ContentException, "its embedded objects are not of one kind");
        }
    }
    return CIMValue::arrayOf(type == CIMDataType::INVALID ? CIMDataType::EMBEDDEDINSTANCE : type,
                             elements);
}

CIMValue Decoder::value(const CIMDataType& type, std::string_view embeds) {
    const char* const element = type.isReference()
                                    ? (type.isArray() ? "VALUE.REFARRAY" : "VALUE.REFERENCE")
                                    : (type.isArray() ? "VALUE.ARRAY" : "VALUE");
    if (!m_reader.is(element)) {
        m_reader.misplaced();
    }
    if (!embeds.empty()) {
        return type.isArray() ? embeddedArray(embeds) : embedded(embeds);
    }
    return ValueDetail::withType(type.getType(), [&]<class T>(std::type_identity<T>) -> CIMValue {
        if constexpr (isSimple<T> || std::is_same_v<T, CIMObjectPath>) {
            return type.isArray() ? array<T>() : CIMValue(single<T>());
        } else {
            m_reader.misplaced();
        }
    });
}

}  // namespace OpenWBEM::CIMXML
