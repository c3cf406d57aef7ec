// SPDX-License-Identifier: Apache-2.0
//
// Part of ObjectWriter: names and paths.
#include "openwbem/cimxml/ObjectWriter.hpp"

namespace OpenWBEM::CIMXML {

namespace {

const char* kindOf(const CIMValue& value) {
    if (value.getType() == CIMDataType::BOOLEAN) {
        return "boolean";
    }
    return CIMDataType::isInteger(value.getType()) || CIMDataType::isReal(value.getType())
               ? "numeric"
               : "string";
}

bool isEmbedded(const CIMValue& value) {
    return value.getType() == CIMDataType::EMBEDDEDINSTANCE ||
           value.getType() == CIMDataType::EMBEDDEDCLASS;
}

}  // namespace

void ObjectWriter::putClassName(const String& name) {
    m_xml.begin("CLASSNAME");
    m_xml.attribute("NAME", name);
    m_xml.endEmpty();
}

void ObjectWriter::putKeyValue(const CIMValue& value) {
    if (value.isNull() || value.isArray() || isEmbedded(value)) {
        m_xml.fail("a key must be a single value of a simple type");
    }
    if (value.getType() == CIMDataType::REFERENCE) {
        putReference(value.get<CIMObjectPath>());
        return;
    }
    m_xml.begin("KEYVALUE");
    m_xml.attribute("VALUETYPE", kindOf(value));
    m_xml.attribute("TYPE", CIMDataType::toString(value.getType()));
    m_xml.content();
    putText(value);
    m_xml.end("KEYVALUE");
}

void ObjectWriter::putKeys(const CIMObjectPath& path) {
    const CIMPropertyArray& keys = path.getKeys();
    for (const CIMProperty& key : keys) {
        const ElementWriter::Subject subject(m_xml, "key", key.getName());
        // The name of an only key may be left out, and then is not known here either.
        if (key.getName().empty() && keys.size() == 1) {
            putKeyValue(key.getValue());
            continue;
        }
        m_xml.begin("KEYBINDING");
        m_xml.attribute("NAME", key.getName());
        m_xml.content();
        putKeyValue(key.getValue());
        m_xml.end("KEYBINDING");
    }
}

void ObjectWriter::putInstanceName(const CIMObjectPath& path) {
    const ElementWriter::Subject subject(m_xml, "path of class", path.getClassName());
    m_xml.begin("INSTANCENAME");
    m_xml.attribute("CLASSNAME", path.getClassName());
    m_xml.content();
    putKeys(path);
    m_xml.end("INSTANCENAME");
}

void ObjectWriter::putNamespace(const String& ns) {
    m_xml.begin("LOCALNAMESPACEPATH");
    m_xml.content();
    for (const String& name : blocxx::tokenize(ns, "/")) {
        m_xml.begin("NAMESPACE");
        m_xml.attribute("NAME", name);
        m_xml.endEmpty();
    }
    m_xml.end("LOCALNAMESPACEPATH");
}

void ObjectWriter::putNamespacePath(const CIMObjectPath& path, const Place& place) {
    m_xml.begin("NAMESPACEPATH");
    m_xml.content();
    m_xml.element("HOST", path.getHost().empty() ? place.host : path.getHost());
    putNamespace(path.getNameSpace().empty() ? place.ns : path.getNameSpace());
    m_xml.end("NAMESPACEPATH");
}

void ObjectWriter::putInstancePath(const CIMObjectPath& path, const Place& place) {
    m_xml.begin("INSTANCEPATH");
    m_xml.content();
    putNamespacePath(path, place);
    putInstanceName(path);
    m_xml.end("INSTANCEPATH");
}

void ObjectWriter::putPath(const CIMObjectPath& path, const Place& place) {
    if (!path.isClassPath()) {
        putInstancePath(path, place);
        return;
    }
    m_xml.begin("CLASSPATH");
    m_xml.content();
    putNamespacePath(path, place);
    putClassName(path.getClassName());
    m_xml.end("CLASSPATH");
}

void ObjectWriter::putName(const CIMObjectPath& path) {
    if (path.isClassPath()) {
        putClassName(path.getClassName());
    } else {
        putInstanceName(path);
    }
}

void ObjectWriter::putReference(const CIMObjectPath& path) {
    m_xml.begin("VALUE.REFERENCE");
    m_xml.content();
    if (!path.getHost().empty()) {
        if (path.getNameSpace().empty()) {
            m_xml.fail("a reference names a host without a namespace");
        }
        putPath(path, {});
    } else if (path.getNameSpace().empty()) {
        putName(path);
    } else {
        const char* const local = path.isClassPath() ? "LOCALCLASSPATH" : "LOCALINSTANCEPATH";
        m_xml.begin(local);
        m_xml.content();
        putNamespace(path.getNameSpace());
        putName(path);
        m_xml.end(local);
    }
    m_xml.end("VALUE.REFERENCE");
}

}  // namespace OpenWBEM::CIMXML
