// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMObjectPath.hpp"

#include <ostream>

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/model/ValueText.hpp"

namespace OpenWBEM {

CIMObjectPath::CIMObjectPath(String className, String nameSpace) {
    Rep& rep = m_rep.write();
    rep.className = std::move(className);
    rep.nameSpace = std::move(nameSpace);
}

CIMObjectPath::CIMObjectPath(String nameSpace, const CIMInstance& instance) {
    Rep& rep = m_rep.write();
    rep.className = instance.getClassName();
    rep.nameSpace = std::move(nameSpace);
    for (const CIMProperty& property : instance.getProperties()) {
        if (property.isKey()) {
            rep.keys.push_back(ModelSupport::withoutQualifiers(property));
        }
    }
}

CIMObjectPath& CIMObjectPath::setClassName(String className) {
    m_rep.write().className = std::move(className);
    return *this;
}

CIMObjectPath& CIMObjectPath::setNameSpace(String nameSpace) {
    m_rep.write().nameSpace = std::move(nameSpace);
    return *this;
}

CIMObjectPath& CIMObjectPath::setHost(String host) {
    m_rep.write().host = std::move(host);
    return *this;
}

CIMObjectPath& CIMObjectPath::setKeys(CIMPropertyArray keys) {
    m_rep.write().keys = std::move(keys);
    return *this;
}

CIMObjectPath& CIMObjectPath::setKeyValue(const String& name, CIMValue value) {
    CIMDataType type = ModelSupport::typeOf(value);
    CIMProperty key(name, std::move(type), std::move(value));
    key.setKey(true);
    Rep& rep = m_rep.write();
    if (const CIMProperty* old = ModelSupport::findNamed(rep.keys, name)) {
        rep.keys[static_cast<size_t>(old - rep.keys.data())] = std::move(key);
    } else {
        rep.keys.push_back(std::move(key));
    }
    return *this;
}

CIMValue CIMObjectPath::getKeyValue(std::string_view name) const {
    const CIMProperty* key = ModelSupport::findNamed(getKeys(), name);
    return key != nullptr ? key->getValue() : CIMValue();
}

namespace {

void appendQuoted(String& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    out += '"';
}

void appendKeyValue(String& out, const CIMValue& value) {
    switch (value.getType()) {
        case CIMDataType::INVALID:
            out += "NULL";
            return;
        case CIMDataType::CHAR16:
            if (!value.isArray()) {
                ValueText::appendQuotedChar(out, value.get<Char16>());
                return;
            }
            break;
        default:
            break;
    }
    const bool bare = !value.isArray() && (value.getType() == CIMDataType::BOOLEAN ||
                                           CIMDataType::isInteger(value.getType()) ||
                                           CIMDataType::isReal(value.getType()));
    if (bare) {
        out += value.toString();
    } else {
        appendQuoted(out, value.toString());
    }
}

bool sameKey(const CIMProperty& a, const CIMProperty& b) {
    return blocxx::equalsIgnoreCase(a.getName(), b.getName()) && a.getValue() == b.getValue();
}

/// The value of a key for canonicalKey(). References to the same object have the same text. It
/// depends neither on the spelling of names nor on the types of the keys, which are different after
/// parsing (a datetime is a string, a number is wider) and unknown here.
String canonicalValue(const CIMValue& value, const String& nameSpace) {
    String text;
    if (value.getType() == CIMDataType::REFERENCE && !value.isArray()) {
        const auto& path = value.get<CIMObjectPath>();
        const String& ns = path.getNameSpace().empty() ? nameSpace : path.getNameSpace();
        String target = blocxx::toLower(path.getHost()) + '/' + blocxx::toLower(ns) + ':';
        target += CIMObjectPath(path).setNameSpace(ns).canonicalKey();
        appendQuoted(text, target);
    } else {
        appendKeyValue(text, value);
    }
    return text;
}

}  // namespace

String CIMObjectPath::modelPath() const {
    String text = getClassName();
    char separator = '.';
    for (const CIMProperty& key : getKeys()) {
        text += separator;
        text += key.getName();
        text += '=';
        appendKeyValue(text, key.getValue());
        separator = ',';
    }
    return text;
}

String CIMObjectPath::toString() const {
    String text;
    if (!getHost().empty()) {
        text = "//" + getHost() + '/';
    }
    if (!getNameSpace().empty()) {
        text += getNameSpace() + ':';
    }
    return text + modelPath();
}

String CIMObjectPath::canonicalKey() const {
    String text = blocxx::toLower(getClassName());
    char separator = '.';
    for (const CIMProperty* key : ModelSupport::sortedByName(getKeys())) {
        text += separator;
        text += blocxx::toLower(key->getName());
        text += '=';
        text += canonicalValue(key->getValue(), getNameSpace());
        separator = ',';
    }
    return text;
}

bool operator==(const CIMObjectPath& a, const CIMObjectPath& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getClassName(), b.getClassName()) &&
            blocxx::equalsIgnoreCase(a.getNameSpace(), b.getNameSpace()) &&
            blocxx::equalsIgnoreCase(a.getHost(), b.getHost()) &&
            ModelSupport::equalInAnyOrder(a.getKeys(), b.getKeys(), sameKey));
}

std::ostream& operator<<(std::ostream& out, const CIMObjectPath& path) {
    return out << path.toString();
}

}  // namespace OpenWBEM
