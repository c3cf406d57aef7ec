// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/CIMDecoder.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM::Codec {

namespace {

/// More properties, keys, qualifiers, methods or parameters than any honest object has.
constexpr unsigned MAX_ARGUMENT_LIST = 16384;

/// What a property, a qualifier or the like takes in memory, without its value and its name.
constexpr size_t ELEMENT_BYTES = 200;

[[noreturn]] void refuse(std::string_view what) {
    BLOCXX_THROW(CodecException, blocxx::Format("not a valid CIM object: %1", what));
}

String text(capnp::Text::Reader in, std::string_view what) {
    const std::string_view view(in.begin(), in.size());
    if (!CIMValue::isStorableString(view)) {
        refuse(blocxx::Format("the %1 is not valid text", what).toString());
    }
    return String(view);
}

CIMFlavor flavor(auto in) {
    return {!in.getNotOverridable(), !in.getRestricted(), in.getTranslatable()};
}

/// Takes over a value that an element of that type may have.
template <class Element>
void setHeldValue(Element& element, CIMValue value) {
    if (!canHold(element.getDataType(), value)) {
        refuse("a value is not of the type of its element");
    }
    element.setValue(std::move(value));
}

}  // namespace

String Decoder::name(capnp::Text::Reader in, std::string_view what) const {
    const std::string_view view(in.begin(), in.size());
    if (m_names == Names::UNCHECKED && m_depth == 0) {
        return text(in, what);
    }
    if (!isIdentifier(view)) {
        refuse(blocxx::Format("the name of a %1 is not an identifier", what).toString());
    }
    return String(view);
}

String Decoder::nameOrNothing(capnp::Text::Reader in, std::string_view what) const {
    return in.size() == 0 ? String() : name(in, what);
}

CIMDataType Decoder::type(auto in) const {
    const auto number = static_cast<uint16_t>(in.getType());
    if (number > CIMDataType::REFERENCE) {
        refuse("an element has a type that cannot be declared");
    }
    const auto type = static_cast<CIMDataType::Type>(number);
    if (type == CIMDataType::REFERENCE) {
        const String refClass = nameOrNothing(in.getRefClass(), "referenced class");
        return in.getIsArray() ? CIMDataType::referenceArray(refClass, in.getArraySize())
                               : CIMDataType::reference(refClass);
    }
    return in.getIsArray() ? CIMDataType::array(type, in.getArraySize()) : CIMDataType(type);
}

void Decoder::charge(uint64_t count, size_t bytesEach) {
    if (count > m_unpackable / bytesEach) {
        refuse("it takes too much memory when it is unpacked");
    }
    m_unpackable -= count * bytesEach;
}

template <class List>
auto Decoder::getAll(List list) {
    if (m_names == Names::UNCHECKED && list.size() > MAX_ARGUMENT_LIST) {
        refuse(
            blocxx::Format("a list in it has more than %1 elements", MAX_ARGUMENT_LIST).toString());
    }
    charge(list.size(), ELEMENT_BYTES);
    Array<decltype(get(list[0]))> result;
    result.reserve(list.size());
    for (const auto element : list) {
        result.push_back(get(element));
    }
    return result;
}

CIMQualifier Decoder::get(wire::Qualifier::Reader in) {
    CIMValue value = in.hasValue() ? get(in.getValue()) : CIMValue();
    CIMQualifier qualifier(name(in.getName(), "qualifier"), std::move(value), flavor(in));
    qualifier.setPropagated(in.getPropagated());
    return qualifier;
}

CIMQualifierType Decoder::get(wire::QualifierType::Reader in) {
    CIMQualifierType result(name(in.getName(), "qualifier type"));
    result.setDataType(type(in)).setFlavor(flavor(in));
    CIMValue value = in.hasDefault() ? get(in.getDefault()) : CIMValue();
    if (!canHold(result.getDataType(), value)) {
        refuse("the default of a qualifier type is not of its type");
    }
    if ((in.getScopes() & ~CIMScope::ANY) != 0) {
        refuse("a qualifier type has an unknown scope");
    }
    result.setDefaultValue(std::move(value)).setScopes(in.getScopes());
    return result;
}

CIMProperty Decoder::get(wire::Property::Reader in) {
    CIMProperty property(name(in.getName(), "property"), type(in));
    setHeldValue(property, in.hasValue() ? get(in.getValue()) : CIMValue());
    property.setQualifiers(getAll(in.getQualifiers()));
    property.setClassOrigin(nameOrNothing(in.getClassOrigin(), "class"));
    property.setKey(in.getIsKey()).setPropagated(in.getPropagated());
    return property;
}

CIMProperty Decoder::get(wire::NamedValue::Reader in) {
    CIMProperty property(name(in.getName(), "property"), type(in));
    setHeldValue(property, in.hasValue() ? get(in.getValue()) : CIMValue());
    property.setKey(in.getIsKey()).setPropagated(in.getPropagated());
    return property;
}

CIMParameter Decoder::get(wire::Parameter::Reader in) {
    CIMParameter parameter(name(in.getName(), "parameter"), type(in));
    parameter.setQualifiers(getAll(in.getQualifiers()));
    return parameter;
}

CIMMethod Decoder::get(wire::Method::Reader in) {
    CIMMethod method(name(in.getName(), "method"), type(in));
    method.setParameters(getAll(in.getParameters()));
    method.setQualifiers(getAll(in.getQualifiers()));
    method.setClassOrigin(nameOrNothing(in.getClassOrigin(), "class"));
    method.setPropagated(in.getPropagated());
    return method;
}

CIMClass Decoder::get(wire::Class::Reader in) {
    CIMClass cls(name(in.getName(), "class"), nameOrNothing(in.getSuperClass(), "superclass"));
    cls.setQualifiers(getAll(in.getQualifiers()));
    cls.setProperties(getAll(in.getProperties()));
    cls.setMethods(getAll(in.getMethods()));
    return cls;
}

CIMInstance Decoder::get(wire::Instance::Reader in) {
    CIMInstance instance(name(in.getClassName(), "class"));
    instance.setProperties(getAll(in.getProperties()));
    instance.setQualifiers(getAll(in.getQualifiers()));
    return instance;
}

CIMInstance Decoder::get(wire::InstanceView::Reader in) {
    CIMInstance instance = get(in.getInstance());
    const auto list = in.getFromClass();
    if (list.size() == 0) {
        return instance;
    }
    CIMPropertyArray properties = instance.getProperties();
    if (list.size() != properties.size()) {
        refuse("an instance does not say of each property what its class says");
    }
    for (unsigned i = 0; i < list.size(); ++i) {
        properties[i].setQualifiers(getAll(list[i].getQualifiers()));
        properties[i].setClassOrigin(nameOrNothing(list[i].getClassOrigin(), "class"));
    }
    instance.setProperties(std::move(properties));
    return instance;
}

CIMObjectPath Decoder::get(wire::ObjectPath::Reader in) {
    CIMObjectPath path(name(in.getClassName(), "class"), text(in.getNameSpace(), "namespace"));
    if (in.hasHost()) {
        path.setHost(text(in.getHost(), "host"));
    }
    path.setKeys(getAll(in.getKeys()));
    return path;
}

}  // namespace OpenWBEM::Codec
