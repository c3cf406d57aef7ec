// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/CIMEncoder.hpp"

#include <algorithm>

namespace OpenWBEM::Codec {

namespace {

void putType(auto out, const CIMDataType& type) {
    out.setType(static_cast<wire::Type>(type.getType()));
    out.setIsArray(type.isArray());
    out.setArraySize(type.getSize());
    if (!type.getRefClassName().empty()) {
        out.setRefClass(type.getRefClassName());
    }
}

void putFlavor(auto out, const CIMFlavor& flavor) {
    out.setNotOverridable(!flavor.overridable);
    out.setRestricted(!flavor.toSubclass);
    out.setTranslatable(flavor.translatable);
}

/// The elements that the form asks for.
template <class T>
Array<const T*> select(const Array<T>& elements, Encoder::Form form) {
    Array<const T*> selected;
    selected.reserve(elements.size());
    for (const T& element : elements) {
        if (form == Encoder::Form::WHOLE || !element.isPropagated()) {
            selected.push_back(&element);
        }
    }
    return selected;
}

}  // namespace

template <class Owner>
void Encoder::putQualifiers(Owner out, const CIMQualifierArray& qualifiers, Form form) {
    const auto selected = select(qualifiers, form);
    if (selected.empty()) {
        return;
    }
    auto list = out.initQualifiers(static_cast<unsigned>(selected.size()));
    for (unsigned i = 0; i < list.size(); ++i) {
        put(list[i], *selected[i]);
    }
}

void Encoder::put(wire::Qualifier::Builder out, const CIMQualifier& qualifier) {
    out.setName(qualifier.getName());
    if (qualifier.getValue()) {
        put(out.initValue(), qualifier.getValue());
    }
    putFlavor(out, qualifier.getFlavor());
    out.setPropagated(qualifier.isPropagated());
}

void Encoder::put(wire::QualifierType::Builder out, const CIMQualifierType& qualifierType) {
    out.setName(qualifierType.getName());
    putType(out, qualifierType.getDataType());
    if (qualifierType.getDefaultValue()) {
        put(out.initDefault(), qualifierType.getDefaultValue());
    }
    out.setScopes(qualifierType.getScopes());
    putFlavor(out, qualifierType.getFlavor());
}

void Encoder::put(wire::Property::Builder out, const CIMProperty& property, Form form) {
    out.setName(property.getName());
    putType(out, property.getDataType());
    if (property.getValue()) {
        put(out.initValue(), property.getValue());
    }
    putQualifiers(out, property.getQualifiers(), form);
    if (form == Form::WHOLE) {
        out.setIsKey(property.isKey());
        out.setPropagated(property.isPropagated());
        out.setClassOrigin(property.getClassOrigin());
    }
}

void Encoder::put(wire::NamedValue::Builder out, const CIMProperty& property) {
    out.setName(property.getName());
    putType(out, property.getDataType());
    if (property.getValue()) {
        put(out.initValue(), property.getValue());
    }
    out.setIsKey(property.isKey());
    out.setPropagated(property.isPropagated());
}

void Encoder::put(wire::Parameter::Builder out, const CIMParameter& parameter, Form form) {
    out.setName(parameter.getName());
    putType(out, parameter.getDataType());
    putQualifiers(out, parameter.getQualifiers(), form);
}

void Encoder::put(wire::Method::Builder out, const CIMMethod& method, Form form) {
    out.setName(method.getName());
    putType(out, method.getReturnType());
    putQualifiers(out, method.getQualifiers(), form);
    const CIMParameterArray& parameters = method.getParameters();
    if (!parameters.empty()) {
        auto list = out.initParameters(static_cast<unsigned>(parameters.size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            put(list[i], parameters[i], form);
        }
    }
    if (form == Form::WHOLE) {
        out.setPropagated(method.isPropagated());
        out.setClassOrigin(method.getClassOrigin());
    }
}

void Encoder::put(wire::Class::Builder out, const CIMClass& cls, Form form) {
    out.setName(cls.getName());
    if (!cls.getSuperClass().empty()) {
        out.setSuperClass(cls.getSuperClass());
    }
    putQualifiers(out, cls.getQualifiers(), form);
    if (const auto properties = select(cls.getProperties(), form); !properties.empty()) {
        auto list = out.initProperties(static_cast<unsigned>(properties.size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            put(list[i], *properties[i], form);
        }
    }
    if (const auto methods = select(cls.getMethods(), form); !methods.empty()) {
        auto list = out.initMethods(static_cast<unsigned>(methods.size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            put(list[i], *methods[i], form);
        }
    }
}

void Encoder::put(wire::Instance::Builder out, const CIMInstance& instance) {
    out.setClassName(instance.getClassName());
    const CIMPropertyArray& properties = instance.getProperties();
    auto list = out.initProperties(static_cast<unsigned>(properties.size()));
    for (unsigned i = 0; i < list.size(); ++i) {
        put(list[i], properties[i]);
    }
    putQualifiers(out, instance.getQualifiers(), Form::WHOLE);
}

void Encoder::put(wire::InstanceView::Builder out, const CIMInstance& instance) {
    put(out.initInstance(), instance);
    const CIMPropertyArray& properties = instance.getProperties();
    const bool hasAny = std::any_of(properties.begin(), properties.end(), [](const auto& property) {
        return !property.getQualifiers().empty() || !property.getClassOrigin().empty();
    });
    if (!hasAny) {
        return;
    }
    auto list = out.initFromClass(static_cast<unsigned>(properties.size()));
    for (unsigned i = 0; i < list.size(); ++i) {
        putQualifiers(list[i], properties[i].getQualifiers(), Form::WHOLE);
        if (!properties[i].getClassOrigin().empty()) {
            list[i].setClassOrigin(properties[i].getClassOrigin());
        }
    }
}

void Encoder::put(wire::ObjectPath::Builder out, const CIMObjectPath& path) {
    if (!path.getHost().empty()) {
        out.setHost(path.getHost());
    }
    if (!path.getNameSpace().empty()) {
        out.setNameSpace(path.getNameSpace());
    }
    out.setClassName(path.getClassName());
    const CIMPropertyArray& keys = path.getKeys();
    if (!keys.empty()) {
        auto list = out.initKeys(static_cast<unsigned>(keys.size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            put(list[i], keys[i]);
        }
    }
}

}  // namespace OpenWBEM::Codec
