// SPDX-License-Identifier: Apache-2.0
//
// A request unpacked: the call that it asks for, and what the call refers to.
#pragma once

#include "openwbem/model/OperationCall.hpp"
#include "openwbem/wire/CIMCodec.hpp"
#include "rpc.capnp.h"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

/// Throws CIMException INVALID_PARAMETER for a name that is longer than Arguments allows.
String nameOf(capnp::Text::Reader text);

inline std::span<const std::byte> bytesOf(capnp::Data::Reader data) {
    return {reinterpret_cast<const std::byte*>(data.begin()), data.size()};
}

/// Whether the operation has an AssociationFilter.
bool followsAssociations(const OperationTraits& traits);

class Arguments {
public:
    // Above what any class has.
    static constexpr unsigned MAX_LISTED = 4096;
    static constexpr size_t MAX_NAME_SIZE = 8192;

    /// Throws CIMException INVALID_PARAMETER for an object that cannot be decoded, and for more or
    /// longer names than that.
    Arguments(const OperationTraits& traits, wire::Request::Reader request);
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    const OperationCall& call() const noexcept { return m_call; }

private:
    void unpackOperand(OperationTraits::Operand operand, wire::Request::Reader request);
    void unpackPropertyList(capnp::List<capnp::Text>::Reader list);

    std::variant<std::monostate, String, CIMClass, CIMInstance, CIMQualifierType, CIMObjectPath>
        m_operand;
    String m_ns;
    AssociationFilter m_filter;
    StringArray m_propertyList;
    OperationCall m_call;
};

}  // namespace OwCimomd
