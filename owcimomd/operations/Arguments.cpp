// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/Arguments.hpp"

#include "blocxx/Format.hpp"

namespace OwCimomd {

String nameOf(capnp::Text::Reader text) {
    if (text.size() > Arguments::MAX_NAME_SIZE) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("a name in the request is longer than %1 bytes",
                                          Arguments::MAX_NAME_SIZE));
    }
    return {text.begin(), text.size()};
}

bool followsAssociations(const OperationTraits& traits) {
    return traits.effect == OperationTraits::Effect::ENUMERATES &&
           traits.operand == OperationTraits::Operand::PATH;
}

Arguments::Arguments(const OperationTraits& traits, wire::Request::Reader request)
    : m_ns(nameOf(request.getNameSpace())), m_call{traits.operation, m_ns} {
    unpackOperand(traits.operand, request);
    m_call.deep = request.getDeep() ? E_DEEP : E_SHALLOW;
    m_call.wanted = {
        request.getLocalOnly() ? E_LOCAL_ONLY : E_NOT_LOCAL_ONLY,
        request.getIncludeQualifiers() ? E_INCLUDE_QUALIFIERS : E_EXCLUDE_QUALIFIERS,
        request.getIncludeClassOrigin() ? E_INCLUDE_CLASS_ORIGIN : E_EXCLUDE_CLASS_ORIGIN};
    if (request.getHasPropertyList()) {
        unpackPropertyList(request.getPropertyList());
    }
    if (followsAssociations(traits)) {
        m_filter = {nameOf(request.getAssocClass()), nameOf(request.getResultClass()),
                    nameOf(request.getRole()), nameOf(request.getResultRole())};
        m_call.filter = &m_filter;
    }
}

void Arguments::unpackOperand(OperationTraits::Operand operand, wire::Request::Reader request) {
    const auto bytes = bytesOf(request.getObject());
    const auto set = [&]<class T>(T object) {
        m_call.operand = &m_operand.emplace<T>(std::move(object));
    };
    switch (operand) {
        case OperationTraits::Operand::NONE:
            return;
        case OperationTraits::Operand::NAME:
            return set(nameOf(request.getName()));
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

void Arguments::unpackPropertyList(capnp::List<capnp::Text>::Reader list) {
    if (list.size() > MAX_LISTED) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("the property list has more than %1 names", MAX_LISTED));
    }
    for (const auto property : list) {
        m_propertyList.push_back(nameOf(property));
    }
    m_call.wanted.propertyList = &m_propertyList;
}

}  // namespace OwCimomd
