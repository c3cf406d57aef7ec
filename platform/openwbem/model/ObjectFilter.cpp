// SPDX-License-Identifier: Apache-2.0
//
// The cut that getClass and getInstance make for their callers.
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM::ModelSupport {

ObjectFilter::ObjectFilter(bool localOnly, bool includeQualifiers, bool includeClassOrigin,
                           const StringArray* propertyList)
    : m_localOnly(localOnly),
      m_includeQualifiers(includeQualifiers),
      m_includeClassOrigin(includeClassOrigin),
      m_hasList(propertyList != nullptr) {
    if (m_hasList) {
        for (const String& name : *propertyList) {
            m_list.insert(blocxx::toLower(name));
        }
    }
}

CIMQualifierArray ObjectFilter::qualifiers(const CIMQualifierArray& all) const {
    CIMQualifierArray kept;
    if (!m_includeQualifiers) {
        return kept;
    }
    if (!m_localOnly) {
        return all;
    }
    for (const CIMQualifier& qualifier : all) {
        if (!qualifier.isPropagated()) {
            kept.push_back(qualifier);
        }
    }
    return kept;
}

bool ObjectFilter::isListed(const CIMProperty& property) const {
    return !m_hasList || m_list.count(blocxx::toLower(property.getName())) != 0;
}

CIMPropertyArray ObjectFilter::properties(const CIMPropertyArray& all) const {
    CIMPropertyArray kept;
    for (const CIMProperty& property : all) {
        if ((m_localOnly && property.isPropagated()) || !isListed(property)) {
            continue;
        }
        kept.push_back(property);
        // Only what changes is written, so that the rest stays shared with the whole object.
        if (cutsQualifiers() && !property.getQualifiers().empty()) {
            kept.back().setQualifiers(qualifiers(property.getQualifiers()));
        }
        if (!m_includeClassOrigin && !property.getClassOrigin().empty()) {
            kept.back().setClassOrigin(String());
        }
    }
    return kept;
}

CIMMethod ObjectFilter::method(const CIMMethod& whole) const {
    CIMMethod kept = whole;
    if (!m_includeClassOrigin && !whole.getClassOrigin().empty()) {
        kept.setClassOrigin(String());
    }
    if (!cutsQualifiers()) {
        return kept;
    }
    if (!whole.getQualifiers().empty()) {
        kept.setQualifiers(qualifiers(whole.getQualifiers()));
    }
    CIMParameterArray parameters = whole.getParameters();
    for (CIMParameter& parameter : parameters) {
        if (!parameter.getQualifiers().empty()) {
            parameter.setQualifiers(qualifiers(parameter.getQualifiers()));
        }
    }
    return kept.setParameters(std::move(parameters));
}

CIMMethodArray ObjectFilter::methods(const CIMMethodArray& all) const {
    CIMMethodArray kept;
    for (const CIMMethod& whole : all) {
        if (!m_localOnly || !whole.isPropagated()) {
            kept.push_back(method(whole));
        }
    }
    return kept;
}

CIMProperty withoutQualifiers(const CIMProperty& property) {
    CIMProperty copy = property;
    if (!property.getQualifiers().empty()) {
        copy.setQualifiers({});
    }
    return copy;
}

CIMDataType typeOf(const CIMValue& value) {
    return value.isArray() ? CIMDataType::array(value.getType()) : CIMDataType(value.getType());
}

String describe(const CIMDataType& type) {
    if (!type) {
        return "null";
    }
    String text = type.toString();
    if (type.isArray()) {
        text += '[';
        if (type.getSize() != 0) {
            text += std::to_string(type.getSize());
        }
        text += ']';
    }
    return text;
}

}  // namespace OpenWBEM::ModelSupport
