// SPDX-License-Identifier: Apache-2.0
//
// Part of Decoder: names and paths.
#include "openwbem/cimxml/Decoder.hpp"
#include "openwbem/cimxml/Limits.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM::CIMXML {

String Decoder::className() {
    String result = name("NAME", "class");
    m_reader.end();
    return result;
}

/// KEYVALUE or VALUE.REFERENCE.
CIMValue Decoder::keyValue() {
    if (m_reader.is("VALUE.REFERENCE")) {
        return CIMValue(reference());
    }
    if (!m_reader.is("KEYVALUE")) {
        m_reader.misplaced();
    }
    const String* const declared = m_reader.find("TYPE");
    const CIMDataType::Type type =
        declared != nullptr ? this->type(*declared) : CIMDataType::INVALID;
    const String kind = m_reader.optional("VALUETYPE");
    if (!kind.empty() && kind != "string" && kind != "boolean" && kind != "numeric") {
        m_reader.notValid("the attribute VALUETYPE must be string, boolean or numeric");
    }
    String text = m_reader.text();
    if (type != CIMDataType::INVALID) {
        return valueOf(type, std::move(text));
    }
    if (kind == "numeric") {
        return numberFromText(text);
    }
    return kind == "boolean" ? CIMValue(fromText<bool>(std::move(text)))
                             : CIMValue(std::move(text));
}

/// KEYBINDING, or a value without one, which is the value of the only key.
CIMProperty Decoder::key() {
    String keyName;
    CIMValue value;
    if (m_reader.is("KEYBINDING")) {
        keyName = name("NAME", "key");
        if (!m_reader.child()) {
            m_reader.notValid("a KEYBINDING must have a value");
        }
        value = within("key", keyName, [&] { return keyValue(); });
        m_reader.end();
    } else if (m_isInValue) {
        BLOCXX_THROW(ContentException, "a reference must name its keys");
    } else {
        value = keyValue();
    }
    CIMDataType type = ModelSupport::typeOf(value);
    CIMProperty key(std::move(keyName), std::move(type), std::move(value));
    key.setKey(true);
    return key;
}

CIMObjectPath Decoder::instanceName() {
    CIMObjectPath path(name("CLASSNAME", "class"));
    CIMPropertyArray keys;
    while (m_reader.child()) {
        checkRoom(keys.size());
        const bool isOnly = !m_reader.is("KEYBINDING");
        if (!keys.empty() && (isOnly || keys.front().getName().empty())) {
            m_reader.misplaced();
        }
        keys.push_back(key());
    }
    path.setKeys(std::move(keys));
    return path;
}

String Decoder::localNamespace() {
    String ns;
    while (m_reader.child()) {
        if (!m_reader.is("NAMESPACE")) {
            m_reader.misplaced();
        }
        // Some clients put the whole path into one name.
        for (const String& part : blocxx::tokenize(m_reader.required("NAME"), "/")) {
            ns += ns.empty() ? "" : "/";
            ns += part;
        }
        if (ns.size() > Limits::MAX_ATTRIBUTE_SIZE) {
            m_reader.notValid("the name of a namespace is longer than " +
                              std::to_string(Limits::MAX_ATTRIBUTE_SIZE) + " bytes");
        }
        m_reader.end();
    }
    if (ns.empty()) {
        m_reader.notValid("a namespace has no name");
    }
    return ns;
}

/// NAMESPACEPATH.
void Decoder::namespacePath(String& host, String& ns) {
    m_reader.expect("HOST");
    host = m_reader.text();
    m_reader.expect("LOCALNAMESPACEPATH");
    ns = localNamespace();
    m_reader.end();
}

CIMObjectPath Decoder::path() {
    if (m_reader.is("CLASSNAME")) {
        return CIMObjectPath(className());
    }
    if (m_reader.is("INSTANCENAME")) {
        return instanceName();
    }
    const bool isOfClass = m_reader.is("CLASSPATH") || m_reader.is("LOCALCLASSPATH");
    if (!isOfClass && !m_reader.is("INSTANCEPATH") && !m_reader.is("LOCALINSTANCEPATH")) {
        m_reader.misplaced();
    }
    const bool isLocal = m_reader.name().starts_with("LOCAL");
    String host;
    String ns;
    m_reader.expect(isLocal ? "LOCALNAMESPACEPATH" : "NAMESPACEPATH");
    if (isLocal) {
        ns = localNamespace();
    } else {
        namespacePath(host, ns);
    }
    m_reader.expect(isOfClass ? "CLASSNAME" : "INSTANCENAME");
    CIMObjectPath path = isOfClass ? CIMObjectPath(className()) : instanceName();
    m_reader.end();
    return path.setHost(std::move(host)).setNameSpace(std::move(ns));
}

CIMObjectPath Decoder::reference() {
    Decoder inner(m_reader, m_embedded, true);
    if (!m_reader.child()) {
        m_reader.notValid("a VALUE.REFERENCE must have a path");
    }
    CIMObjectPath path = inner.path();
    m_reader.end();
    return path;
}

}  // namespace OpenWBEM::CIMXML
