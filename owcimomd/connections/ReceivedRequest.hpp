// SPDX-License-Identifier: Apache-2.0
//
// What arrives over the local socket, as the operations want it. The messages must outlive these.
#pragma once

#include "openwbem/wire/CIMCodec.hpp"
#include "owcimomd/operations/Request.hpp"
#include "rpc.capnp.h"

namespace OwCimomd {

class ReceivedRequest : public Request {
public:
    // Above what any class has.
    static constexpr unsigned MAX_LISTED = 4096;
    static constexpr size_t MAX_NAME_SIZE = 8192;

    explicit ReceivedRequest(wire::Request::Reader request) : m_request(request) {}

    const OperationTraits* traits() const override;
    /// Throws CIMException INVALID_PARAMETER for a name that is longer than that.
    String ns() const override;
    /// Throws CIMException INVALID_PARAMETER for an object that cannot be decoded, and for more or
    /// longer names than that.
    OperationCall unpack() override;

private:
    void unpackOperand(OperationTraits::Operand operand, OperationCall& call);
    void unpackPropertyList(OperationCall& call);

    wire::Request::Reader m_request;
    std::variant<std::monostate, String, CIMClass, CIMInstance, CIMQualifierType, CIMObjectPath>
        m_operand;
    String m_ns;
    AssociationFilter m_filter;
    StringArray m_propertyList;
};

class ReceivedObjects : public Storing {
public:
    explicit ReceivedObjects(wire::Storing::Reader storing)
        : m_ns(storing.getNameSpace()),
          m_qualifierTypes(storing.getQualifierTypes()),
          m_classes(storing.getClasses()),
          m_instances(storing.getInstances()) {}

    void check() const override;
    String ns() const override;
    size_t qualifierTypes() const override { return m_qualifierTypes.size(); }
    size_t classes() const override { return m_classes.size(); }
    size_t instances() const override { return m_instances.size(); }
    // These throw CIMException INVALID_PARAMETER for an object that cannot be decoded.
    CIMQualifierType qualifierType(size_t index) const override;
    CIMClass cls(size_t index) const override;
    CIMInstance instance(size_t index) const override;
    bool isSame(size_t index, const CIMClass& existing) const override;

private:
    // Read once: each reading of a list counts against the message's limit.
    capnp::Text::Reader m_ns;
    capnp::List<capnp::Data>::Reader m_qualifierTypes;
    capnp::List<capnp::Data>::Reader m_classes;
    capnp::List<capnp::Data>::Reader m_instances;
};

}  // namespace OwCimomd
