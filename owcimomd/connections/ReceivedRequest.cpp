// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/ReceivedRequest.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OwCimomd {

namespace {

/// Throws CIMException INVALID_PARAMETER for a name that is longer than MAX_NAME_SIZE.
String nameOf(capnp::Text::Reader text) {
    if (text.size() > ReceivedRequest::MAX_NAME_SIZE) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("a name in the request is longer than %1 bytes",
                                          ReceivedRequest::MAX_NAME_SIZE));
    }
    return {text.begin(), text.size()};
}

std::span<const std::byte> bytesOf(capnp::Data::Reader data) {
    return {reinterpret_cast<const std::byte*>(data.begin()), data.size()};
}

std::span<const std::byte> objectAt(capnp::List<capnp::Data>::Reader list, size_t index) {
    return bytesOf(list[static_cast<unsigned>(index)]);
}

}  // namespace

const OperationTraits* ReceivedRequest::traits() const {
    return findTraits(static_cast<uint16_t>(m_request.getOperation()));
}

String ReceivedRequest::ns() const {
    return nameOf(m_request.getNameSpace());
}

OperationCall ReceivedRequest::unpack() {
    m_ns = ns();
    OperationCall call{traits()->operation, m_ns};
    unpackOperand(traits()->operand, call);
    call.deep = m_request.getDeep() ? E_DEEP : E_SHALLOW;
    call.wanted = {
        m_request.getLocalOnly() ? E_LOCAL_ONLY : E_NOT_LOCAL_ONLY,
        m_request.getIncludeQualifiers() ? E_INCLUDE_QUALIFIERS : E_EXCLUDE_QUALIFIERS,
        m_request.getIncludeClassOrigin() ? E_INCLUDE_CLASS_ORIGIN : E_EXCLUDE_CLASS_ORIGIN};
    if (m_request.getHasPropertyList()) {
        unpackPropertyList(call);
    }
    if (followsAssociations(*traits())) {
        m_filter = {nameOf(m_request.getAssocClass()), nameOf(m_request.getResultClass()),
                    nameOf(m_request.getRole()), nameOf(m_request.getResultRole())};
        call.filter = &m_filter;
    }
    return call;
}

void ReceivedRequest::unpackOperand(OperationTraits::Operand operand, OperationCall& call) {
    const auto bytes = bytesOf(m_request.getObject());
    const auto set = [&]<class T>(T object) {
        call.operand = &m_operand.emplace<T>(std::move(object));
    };
    switch (operand) {
        case OperationTraits::Operand::NONE:
            return;
        case OperationTraits::Operand::NAME:
            return set(nameOf(m_request.getName()));
        case OperationTraits::Operand::CLASS:
            return set(Codec::operand([&] { return Codec::decodeClassArgument(bytes); }));
        case OperationTraits::Operand::INSTANCE:
            return set(Codec::operand([&] { return Codec::decodeInstanceArgument(bytes); }));
        case OperationTraits::Operand::QUALIFIER_TYPE:
            return set(Codec::operand([&] { return Codec::decodeQualifierTypeArgument(bytes); }));
        case OperationTraits::Operand::PATH:
            return set(Codec::operand([&] { return Codec::decodeObjectPathArgument(bytes); }));
    }
}

void ReceivedRequest::unpackPropertyList(OperationCall& call) {
    const auto list = m_request.getPropertyList();
    if (list.size() > MAX_LISTED) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("the property list has more than %1 names", MAX_LISTED));
    }
    for (const auto property : list) {
        m_propertyList.push_back(nameOf(property));
    }
    call.wanted.propertyList = &m_propertyList;
}

void ReceivedObjects::check() const {
    const size_t others = qualifierTypes() + classes();
    if (others > RpcLimits::MAX_OBJECTS || instances() > RpcLimits::MAX_OBJECTS - others) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("there are more than %1 objects in the request",
                                          RpcLimits::MAX_OBJECTS));
    }
}

String ReceivedObjects::ns() const {
    return nameOf(m_ns);
}

CIMQualifierType ReceivedObjects::qualifierType(size_t index) const {
    return Codec::operand(
        [&] { return Codec::decodeQualifierTypeArgument(objectAt(m_qualifierTypes, index)); });
}

CIMClass ReceivedObjects::cls(size_t index) const {
    return Codec::operand([&] { return Codec::decodeClassArgument(objectAt(m_classes, index)); });
}

CIMInstance ReceivedObjects::instance(size_t index) const {
    return Codec::operand(
        [&] { return Codec::decodeInstanceArgument(objectAt(m_instances, index)); });
}

bool ReceivedObjects::isSame(size_t index, const CIMClass& existing) const {
    const auto received = m_classes[static_cast<unsigned>(index)].asChars();
    return std::string_view(received.begin(), received.size()) == Codec::encode(existing);
}

}  // namespace OwCimomd
