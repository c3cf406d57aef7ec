// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/Decoder.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/cimxml/Limits.hpp"
#include "openwbem/cimxml/Scopes.hpp"
#include "openwbem/model/Identifier.hpp"

namespace OpenWBEM::CIMXML {

String Decoder::name(const char* attribute, const char* what) const {
    String name = m_reader.required(attribute);
    if (m_isInValue && !isIdentifier(name)) {
        BLOCXX_THROW(ContentException,
                     String(blocxx::Format("the name of a %1 is not an identifier", what)));
    }
    return name;
}

String Decoder::nameOrNothing(const char* attribute, const char* what) const {
    const String* const found = m_reader.find(attribute);
    return found == nullptr || found->empty() ? String() : name(attribute, what);
}

void Decoder::checkRoom(size_t listed) const {
    if (listed == Limits::MAX_LIST) {
        BLOCXX_THROW(ContentException, "it has more than " + std::to_string(Limits::MAX_LIST) +
                                           " elements of a kind");
    }
}

bool Decoder::take(CIMQualifierArray& qualifiers) {
    if (!m_reader.is("QUALIFIER")) {
        return false;
    }
    checkRoom(qualifiers.size());
    qualifiers.push_back(qualifier());
    return true;
}

bool Decoder::take(CIMPropertyArray& properties) {
    if (!m_reader.is("PROPERTY") && !m_reader.is("PROPERTY.ARRAY") &&
        !m_reader.is("PROPERTY.REFERENCE")) {
        return false;
    }
    checkRoom(properties.size());
    properties.push_back(property());
    return true;
}

bool Decoder::take(CIMParameterArray& parameters) {
    if (!m_reader.is("PARAMETER") && !m_reader.is("PARAMETER.ARRAY") &&
        !m_reader.is("PARAMETER.REFERENCE") && !m_reader.is("PARAMETER.REFARRAY")) {
        return false;
    }
    checkRoom(parameters.size());
    parameters.push_back(parameter());
    return true;
}

bool Decoder::take(CIMMethodArray& methods) {
    if (!m_reader.is("METHOD")) {
        return false;
    }
    checkRoom(methods.size());
    methods.push_back(method());
    return true;
}

uint32_t Decoder::arraySize() const {
    const String* const size = m_reader.find("ARRAYSIZE");
    return size == nullptr ? 0 : fromText<uint32_t>(*size);
}

CIMDataType Decoder::declaredType(bool isReference, bool isArray) const {
    if (isReference) {
        String cls = nameOrNothing("REFERENCECLASS", "referenced class");
        return isArray ? CIMDataType::referenceArray(std::move(cls), arraySize())
                       : CIMDataType::reference(std::move(cls));
    }
    return isArray ? CIMDataType::array(type(), arraySize()) : CIMDataType(type());
}

CIMFlavor Decoder::flavor() const {
    return {m_reader.flag("OVERRIDABLE", true), m_reader.flag("TOSUBCLASS", true),
            m_reader.flag("TRANSLATABLE", false)};
}

CIMQualifier Decoder::qualifier() {
    const String qualifierName = name("NAME", "qualifier");
    const CIMDataType::Type valueType = type();
    const CIMFlavor flavors = flavor();
    const bool isPropagated = m_reader.flag("PROPAGATED", false);
    CIMValue value;
    if (m_reader.child()) {
        const bool isArray = m_reader.is("VALUE.ARRAY");
        value = within("qualifier", qualifierName, [&] {
            return this->value(isArray ? CIMDataType::array(valueType) : CIMDataType(valueType));
        });
        m_reader.end();
    }
    return CIMQualifier(qualifierName, std::move(value), flavors).setPropagated(isPropagated);
}

/// What a string may be instead: "instance", "object" or nothing.
std::string_view Decoder::embeds() const {
    const String* const attribute = m_reader.find("EmbeddedObject");
    if (attribute == nullptr) {
        return {};
    }
    if (*attribute != "instance" && *attribute != "object") {
        m_reader.notValid("the attribute EmbeddedObject must be instance or object");
    }
    return *attribute == "instance" ? "instance" : "object";
}

CIMProperty Decoder::property() {
    const String propertyName = name("NAME", "property");
    return within("property", propertyName, [&] {
        const bool isReference = m_reader.is("PROPERTY.REFERENCE");
        const CIMDataType type = declaredType(isReference, m_reader.is("PROPERTY.ARRAY"));
        const std::string_view embedding =
            type.getType() == CIMDataType::STRING ? embeds() : std::string_view();
        CIMProperty property(propertyName, type);
        property.setClassOrigin(nameOrNothing("CLASSORIGIN", "class"));
        property.setPropagated(m_reader.flag("PROPAGATED", false));
        CIMQualifierArray qualifiers;
        bool hasValue = false;
        while (m_reader.child()) {
            if (take(qualifiers)) {
                continue;
            }
            if (hasValue) {
                m_reader.misplaced();
            }
            property.setValue(value(type, embedding));
            hasValue = true;
        }
        return property.setQualifiers(std::move(qualifiers));
    });
}

CIMParameter Decoder::parameter() {
    const String parameterName = name("NAME", "parameter");
    return within("parameter", parameterName, [&] {
        const bool isRefArray = m_reader.is("PARAMETER.REFARRAY");
        const bool isReference = isRefArray || m_reader.is("PARAMETER.REFERENCE");
        CIMParameter parameter(
            parameterName, declaredType(isReference, isRefArray || m_reader.is("PARAMETER.ARRAY")));
        CIMQualifierArray qualifiers;
        while (m_reader.child()) {
            if (!take(qualifiers)) {
                m_reader.misplaced();
            }
        }
        return parameter.setQualifiers(std::move(qualifiers));
    });
}

CIMMethod Decoder::method() {
    const String methodName = name("NAME", "method");
    return within("method", methodName, [&] {
        CIMMethod method(methodName,
                         m_reader.find("TYPE") != nullptr ? CIMDataType(type()) : CIMDataType());
        method.setClassOrigin(nameOrNothing("CLASSORIGIN", "class"));
        method.setPropagated(m_reader.flag("PROPAGATED", false));
        CIMQualifierArray qualifiers;
        CIMParameterArray parameters;
        while (m_reader.child()) {
            if (!take(qualifiers) && !take(parameters)) {
                m_reader.misplaced();
            }
        }
        return method.setQualifiers(std::move(qualifiers)).setParameters(std::move(parameters));
    });
}

CIMClass Decoder::cls() {
    CIMClass cls(name("NAME", "class"), nameOrNothing("SUPERCLASS", "superclass"));
    CIMQualifierArray qualifiers;
    CIMPropertyArray properties;
    CIMMethodArray methods;
    while (m_reader.child()) {
        if (!take(qualifiers) && !take(properties) && !take(methods)) {
            m_reader.misplaced();
        }
    }
    return cls.setQualifiers(std::move(qualifiers))
        .setProperties(std::move(properties))
        .setMethods(std::move(methods));
}

CIMInstance Decoder::instance() {
    CIMInstance instance(name("CLASSNAME", "class"));
    CIMQualifierArray qualifiers;
    CIMPropertyArray properties;
    while (m_reader.child()) {
        if (!take(qualifiers) && !take(properties)) {
            m_reader.misplaced();
        }
    }
    return instance.setQualifiers(std::move(qualifiers)).setProperties(std::move(properties));
}

NamedInstance Decoder::namedInstance() {
    m_reader.expect("INSTANCENAME");
    CIMObjectPath path = instanceName();
    m_reader.expect("INSTANCE");
    CIMInstance instance = this->instance();
    m_reader.end();
    return {std::move(path), std::move(instance)};
}

/// SCOPE.
uint8_t Decoder::scopes() {
    uint8_t scopes = 0;
    for (const ScopeName& scope : SCOPES) {
        if (m_reader.flag(scope.name, false)) {
            scopes |= scope.bit;
        }
    }
    m_reader.end();
    return scopes;
}

CIMQualifierType Decoder::qualifierType() {
    CIMQualifierType result(name("NAME", "qualifier type"));
    const CIMDataType::Type elementType = type();
    bool isArray = m_reader.flag("ISARRAY", false);
    const bool saysArray = m_reader.find("ISARRAY") != nullptr;
    const uint32_t size = arraySize();
    result.setFlavor(flavor());
    // Without SCOPE, the scope is not restricted.
    result.setScopes(CIMScope::ANY);
    bool hasValue = false;
    while (m_reader.child()) {
        if (m_reader.is("SCOPE")) {
            result.setScopes(scopes());
        } else if (!hasValue) {
            isArray = isArray || (!saysArray && m_reader.is("VALUE.ARRAY"));
            result.setDefaultValue(within("qualifier type", result.getName(), [&] {
                return value(isArray ? CIMDataType::array(elementType) : CIMDataType(elementType));
            }));
            hasValue = true;
        } else {
            m_reader.misplaced();
        }
    }
    return result.setDataType(isArray ? CIMDataType::array(elementType, size)
                                      : CIMDataType(elementType));
}

}  // namespace OpenWBEM::CIMXML
