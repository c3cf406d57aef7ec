// SPDX-License-Identifier: Apache-2.0
//
// Reads the objects of the model from a hostile Cap'n Proto message (cim.capnp). Throws
// CodecException for anything that no object of the model can be. Exceptions of KJ (broken
// pointers, limits) pass through; the caller has set the limits of the message.
#pragma once

#include <cstdint>

#include "cim.capnp.h"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM::Codec {

class Decoder {
public:
    /// UNCHECKED is for arguments: the operation itself refuses invalid names, with the same
    /// message on every way. Names of objects inside values are always checked.
    enum class Names { CHECKED, UNCHECKED };

    /// Decoding fails when the objects would take more than about `maxUnpacked` bytes of memory.
    explicit Decoder(Names names = Names::CHECKED, uint64_t maxUnpacked = UINT64_MAX)
        : m_names(names), m_unpackable(maxUnpacked) {}

    CIMClass get(wire::Class::Reader in);
    CIMInstance get(wire::Instance::Reader in);
    CIMInstance get(wire::InstanceView::Reader in);
    CIMObjectPath get(wire::ObjectPath::Reader in);
    CIMQualifierType get(wire::QualifierType::Reader in);
    CIMValue get(wire::Value::Reader in);

private:
    CIMQualifier get(wire::Qualifier::Reader in);
    CIMProperty get(wire::Property::Reader in);
    CIMProperty get(wire::NamedValue::Reader in);
    CIMParameter get(wire::Parameter::Reader in);
    CIMMethod get(wire::Method::Reader in);
    template <class List>
    auto getAll(List list);

    template <class T>
    CIMValue getSingle(wire::Value::Reader in);
    template <class T>
    CIMValue getArray(wire::Value::Reader in);
    template <class List>
    auto getObjects(List list, const Array<bool>& nulls);

    void charge(uint64_t count, size_t bytesEach);
    String name(capnp::Text::Reader in, std::string_view what) const;
    String nameOrNothing(capnp::Text::Reader in, std::string_view what) const;
    CIMDataType type(auto in) const;

    Names m_names;
    uint64_t m_unpackable;
    unsigned m_depth = 0;
};

}  // namespace OpenWBEM::Codec
