// SPDX-License-Identifier: Apache-2.0
//
// Part of ObjectWriter: classes, instances and qualifier types.
#include "openwbem/cimxml/ObjectWriter.hpp"
#include "openwbem/cimxml/Scopes.hpp"
#include "openwbem/model/Embedding.hpp"

namespace OpenWBEM::CIMXML {

using Subject = ElementWriter::Subject;

void ObjectWriter::putFlavor(const CIMFlavor& flavor) {
    m_xml.flag("OVERRIDABLE", flavor.overridable, true);
    m_xml.flag("TOSUBCLASS", flavor.toSubclass, true);
    m_xml.flag("TRANSLATABLE", flavor.translatable, false);
}

void ObjectWriter::putArraySize(const CIMDataType& type) {
    if (type.getSize() != 0) {
        m_xml.attribute("ARRAYSIZE", std::to_string(type.getSize()));
    }
}

void ObjectWriter::putRefClass(const CIMDataType& type) {
    if (!type.getRefClassName().empty()) {
        m_xml.attribute("REFERENCECLASS", type.getRefClassName());
    }
}

void ObjectWriter::put(const CIMQualifier& qualifier) {
    const Subject subject(m_xml, "qualifier", qualifier.getName());
    const CIMValue& value = qualifier.getValue();
    m_xml.begin("QUALIFIER");
    m_xml.attribute("NAME", qualifier.getName());
    // The model does not know the type of a qualifier without a value.
    m_xml.attribute("TYPE", value.isNull() ? "string" : CIMDataType::toString(value.getType()));
    m_xml.flag("PROPAGATED", qualifier.isPropagated(), false);
    putFlavor(qualifier.getFlavor());
    m_xml.content();
    put(value);
    m_xml.end("QUALIFIER");
}

void ObjectWriter::put(const CIMQualifierArray& qualifiers) {
    for (const CIMQualifier& qualifier : qualifiers) {
        put(qualifier);
    }
}

/// What the property holds or, without a value, may hold as far as its qualifiers say.
void ObjectWriter::putEmbedding(const CIMProperty& property) {
    const CIMDataType::Type held = property.getValue().getType();
    Embedding::Kind kind = Embedding::NOTHING;
    if (held == CIMDataType::INVALID || held == CIMDataType::EMBEDDEDINSTANCE) {
        kind = embeddingOf(property.getQualifiers()).kind;
    }
    if (held == CIMDataType::EMBEDDEDCLASS || kind == Embedding::OBJECT) {
        m_xml.attribute("EmbeddedObject", "object");
    } else if (held == CIMDataType::EMBEDDEDINSTANCE || kind == Embedding::INSTANCE) {
        m_xml.attribute("EmbeddedObject", "instance");
    }
}

void ObjectWriter::put(const CIMProperty& property) {
    const Subject subject(m_xml, "property", property.getName());
    const CIMDataType& type = property.getDataType();
    if (!type) {
        m_xml.fail("it has no type");
    }
    if (type.isReference() && type.isArray()) {
        m_xml.fail("a property cannot be an array of references");
    }
    const char* const name = type.isReference() ? "PROPERTY.REFERENCE"
                             : type.isArray()   ? "PROPERTY.ARRAY"
                                                : "PROPERTY";
    m_xml.begin(name);
    m_xml.attribute("NAME", property.getName());
    if (type.isReference()) {
        putRefClass(type);
    } else {
        m_xml.attribute("TYPE", CIMDataType::toString(type.getType()));
        putArraySize(type);
        putEmbedding(property);
    }
    if (!property.getClassOrigin().empty()) {
        m_xml.attribute("CLASSORIGIN", property.getClassOrigin());
    }
    m_xml.flag("PROPAGATED", property.isPropagated(), false);
    m_xml.content();
    put(property.getQualifiers());
    put(property.getValue());
    m_xml.end(name);
}

void ObjectWriter::put(const CIMParameter& parameter) {
    const Subject subject(m_xml, "parameter", parameter.getName());
    const CIMDataType& type = parameter.getDataType();
    if (!type) {
        m_xml.fail("it has no type");
    }
    const char* const name = type.isReference()
                                 ? (type.isArray() ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE")
                                 : (type.isArray() ? "PARAMETER.ARRAY" : "PARAMETER");
    m_xml.begin(name);
    m_xml.attribute("NAME", parameter.getName());
    if (type.isReference()) {
        putRefClass(type);
    } else {
        m_xml.attribute("TYPE", CIMDataType::toString(type.getType()));
    }
    putArraySize(type);
    m_xml.content();
    put(parameter.getQualifiers());
    m_xml.end(name);
}

void ObjectWriter::put(const CIMMethod& method) {
    const Subject subject(m_xml, "method", method.getName());
    const CIMDataType& type = method.getReturnType();
    if (type.isReference() || type.isArray()) {
        m_xml.fail("a method cannot return a reference or an array");
    }
    m_xml.begin("METHOD");
    m_xml.attribute("NAME", method.getName());
    if (type) {
        m_xml.attribute("TYPE", CIMDataType::toString(type.getType()));
    }
    if (!method.getClassOrigin().empty()) {
        m_xml.attribute("CLASSORIGIN", method.getClassOrigin());
    }
    m_xml.flag("PROPAGATED", method.isPropagated(), false);
    m_xml.content();
    put(method.getQualifiers());
    for (const CIMParameter& parameter : method.getParameters()) {
        put(parameter);
    }
    m_xml.end("METHOD");
}

void ObjectWriter::put(const CIMClass& cls) {
    const Subject subject(m_xml, "class", cls.getName());
    m_xml.begin("CLASS");
    m_xml.attribute("NAME", cls.getName());
    if (!cls.getSuperClass().empty()) {
        m_xml.attribute("SUPERCLASS", cls.getSuperClass());
    }
    m_xml.content();
    put(cls.getQualifiers());
    for (const CIMProperty& property : cls.getProperties()) {
        put(property);
    }
    for (const CIMMethod& method : cls.getMethods()) {
        put(method);
    }
    m_xml.end("CLASS");
}

void ObjectWriter::put(const CIMInstance& instance) {
    const Subject subject(m_xml, "instance of class", instance.getClassName());
    m_xml.begin("INSTANCE");
    m_xml.attribute("CLASSNAME", instance.getClassName());
    m_xml.content();
    put(instance.getQualifiers());
    for (const CIMProperty& property : instance.getProperties()) {
        put(property);
    }
    m_xml.end("INSTANCE");
}

void ObjectWriter::putScope(uint8_t scopes) {
    m_xml.begin("SCOPE");
    for (const ScopeName& scope : SCOPES) {
        m_xml.flag(scope.name, (scopes & scope.bit) != 0, false);
    }
    m_xml.endEmpty();
}

void ObjectWriter::put(const CIMQualifierType& qualifierType) {
    const Subject subject(m_xml, "qualifier type", qualifierType.getName());
    const CIMDataType& type = qualifierType.getDataType();
    if (!type || type.isReference()) {
        m_xml.fail("it has no type that a qualifier can have");
    }
    m_xml.begin("QUALIFIER.DECLARATION");
    m_xml.attribute("NAME", qualifierType.getName());
    m_xml.attribute("TYPE", CIMDataType::toString(type.getType()));
    // DSP0201 gives ISARRAY no default.
    m_xml.attribute("ISARRAY", type.isArray() ? "true" : "false");
    putArraySize(type);
    putFlavor(qualifierType.getFlavor());
    m_xml.content();
    putScope(qualifierType.getScopes());
    put(qualifierType.getDefaultValue());
    m_xml.end("QUALIFIER.DECLARATION");
}

}  // namespace OpenWBEM::CIMXML
