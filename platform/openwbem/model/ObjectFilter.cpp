// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM::ModelSupport {

ObjectFilter::ObjectFilter(const WantedParts& wanted)
    : m_localOnly(wanted.localOnly == E_LOCAL_ONLY),
      m_qualifiers(wanted.qualifiers == E_INCLUDE_QUALIFIERS),
      m_classOrigin(wanted.classOrigin == E_INCLUDE_CLASS_ORIGIN) {
    if (wanted.propertyList != nullptr) {
        m_listed.emplace();
        for (const String& name : *wanted.propertyList) {
            m_listed->insert(blocxx::toLower(name));
        }
    }
}

CIMQualifierArray ObjectFilter::qualifiers(const CIMQualifierArray& all) const {
    CIMQualifierArray kept;
    if (!m_qualifiers) {
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
    return !m_listed || m_listed->contains(blocxx::toLower(property.getName()));
}

CIMPropertyArray ObjectFilter::properties(const CIMPropertyArray& all) const {
    CIMPropertyArray kept;
    for (const CIMProperty& property : all) {
        if ((m_localOnly && property.isPropagated()) || !isListed(property)) {
            continue;
        }
        kept.push_back(property);
        // Writes only what changes, so that the rest stays shared with the whole object.
        if (cutsQualifiers() && !property.getQualifiers().empty()) {
            kept.back().setQualifiers(qualifiers(property.getQualifiers()));
        }
        if (!m_classOrigin && !property.getClassOrigin().empty()) {
            kept.back().setClassOrigin(String());
        }
    }
    return kept;
}

CIMMethod ObjectFilter::method(const CIMMethod& whole) const {
    CIMMethod kept = whole;
    if (!m_classOrigin && !whole.getClassOrigin().empty()) {
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
