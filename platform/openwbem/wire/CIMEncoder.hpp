// SPDX-License-Identifier: Apache-2.0
//
// Writes the objects of the model into a Cap'n Proto message (cim.capnp).
#pragma once

#include "cim.capnp.h"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM::Codec {

class Encoder {
public:
    /// What is encoded of a class: only what it declares itself, or everything.
    enum class Form { DECLARED, WHOLE };

    void put(wire::Class::Builder out, const CIMClass& cls, Form form);
    void put(wire::Instance::Builder out, const CIMInstance& instance);
    void put(wire::InstanceView::Builder out, const CIMInstance& instance);
    void put(wire::ObjectPath::Builder out, const CIMObjectPath& path);
    void put(wire::QualifierType::Builder out, const CIMQualifierType& qualifierType);
    /// `value` is not null.
    void put(wire::Value::Builder out, const CIMValue& value);

private:
    void put(wire::Qualifier::Builder out, const CIMQualifier& qualifier);
    void put(wire::Property::Builder out, const CIMProperty& property, Form form);
    void put(wire::NamedValue::Builder out, const CIMProperty& property);
    void put(wire::Parameter::Builder out, const CIMParameter& parameter, Form form);
    void put(wire::Method::Builder out, const CIMMethod& method, Form form);
    template <class Owner>
    void putQualifiers(Owner out, const CIMQualifierArray& qualifiers, Form form);

    template <class T>
    void putSingle(wire::Value::Builder out, const T& value);
    template <class T>
    void putArray(wire::Value::Builder out, const CIMValue& value);
    template <class List, class T>
    void putObjects(List list, const CIMValue& value, const Array<T>& elements);

    unsigned m_depth = 0;
};

}  // namespace OpenWBEM::Codec
