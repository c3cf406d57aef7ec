// SPDX-License-Identifier: Apache-2.0
//
// Part of ObjectWriter: values.
#include "blocxx/Utf8.hpp"
#include "openwbem/cimxml/ObjectWriter.hpp"

namespace OpenWBEM::CIMXML {

void ObjectWriter::putText(const CIMValue& value) {
    switch (value.getType()) {
        case CIMDataType::STRING:
            return m_xml.text(value.get<String>());
        case CIMDataType::CHAR16: {
            String text;
            if (!blocxx::Utf8::append(text, value.get<Char16>().unit)) {
                m_xml.fail("it has half of a surrogate pair");
            }
            return m_xml.text(text);
        }
        case CIMDataType::EMBEDDEDINSTANCE: {
            String text;
            ObjectWriter(text, *this).put(value.get<CIMInstance>());
            return m_xml.text(text);
        }
        case CIMDataType::EMBEDDEDCLASS: {
            String text;
            ObjectWriter(text, *this).put(value.get<CIMClass>());
            return m_xml.text(text);
        }
        default:
            return m_xml.text(value.toString());
    }
}

/// A single value, or an element of an array, which may be null.
void ObjectWriter::putElement(const CIMValue& value) {
    if (value.isNull()) {
        m_xml.begin("VALUE.NULL");
        m_xml.endEmpty();
    } else if (value.getType() == CIMDataType::REFERENCE) {
        putReference(value.get<CIMObjectPath>());
    } else {
        m_xml.begin("VALUE");
        m_xml.content();
        putText(value);
        m_xml.end("VALUE");
    }
}

void ObjectWriter::put(const CIMValue& value) {
    if (value.isArray()) {
        const char* const name =
            value.getType() == CIMDataType::REFERENCE ? "VALUE.REFARRAY" : "VALUE.ARRAY";
        m_xml.begin(name);
        m_xml.content();
        for (size_t i = 0; i < value.getArraySize(); ++i) {
            putElement(value.getElement(i));
        }
        m_xml.end(name);
    } else if (!value.isNull()) {
        putElement(value);
    }
}

}  // namespace OpenWBEM::CIMXML
