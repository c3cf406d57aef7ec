// SPDX-License-Identifier: Apache-2.0
//
// The handle itself and the operations on qualifier types. Those on classes, instances and
// associations are in the sources named after them.
#include "openwbem/client/ClientCIMOMHandle.hpp"

#include <optional>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "layout/Layout.hpp"
#include "openwbem/client/ClientResults.hpp"

namespace OpenWBEM {

using wire::Operation;

ClientCIMOMHandleRef ClientCIMOMHandle::createFromURL(const String& url,
                                                      const ClientAuthCBIFCRef& authCallback,
                                                      const SSLClientCtxRef& sslContext) {
    constexpr std::string_view SOCKET_PREFIX = "owbinary.wbem://localhost:/";
    if (authCallback || sslContext) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           "a local connection has no authentication and no encryption");
    }
    if (url == LOCAL_URL) {
        return new ClientCIMOMHandle(Layout::SOCKET);
    }
    if (url.starts_with(SOCKET_PREFIX)) {
        return new ClientCIMOMHandle(url.substr(SOCKET_PREFIX.size() - 1));
    }
    OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                       blocxx::Format("\"%1\" is not the URL of a local daemon", url));
}

ClientCIMOMHandle::ClientCIMOMHandle(const String& socketPath)
    : m_protocol(new WBEMProtocolHandler),
      m_connection(std::make_unique<ClientConnection>(socketPath)) {}

ClientCIMOMHandle::~ClientCIMOMHandle() = default;

void ClientCIMOMHandle::ping() {
    m_connection->ping(m_protocol->getTimeout());
}

// A signal may end this wait: the changes are committed, and the caller can undo them.
void ClientCIMOMHandle::commit() {
    blocxx::Interruption::check();
    m_connection->sync(m_protocol->getTimeout());
}

namespace {

bool isChange(Operation operation) {
    return operation != Operation::GET_CLASS && operation != Operation::GET_INSTANCE &&
           operation != Operation::GET_QUALIFIER_TYPE;
}

}  // namespace

// A change must be waited for even after a signal: without its answer the caller cannot know
// whether there is something to undo.
String ClientCIMOMHandle::carryOut(const ClientCall& call) {
    blocxx::Interruption::check();
    std::optional<blocxx::Interruption::Deferred> deferred;
    if (isChange(call.operation)) {
        deferred.emplace();
    }
    return m_connection->carryOut(call, m_protocol->getTimeout());
}

CIMQualifierType ClientCIMOMHandle::getQualifierType(const String& ns, const String& name) {
    const String answer = carryOut({Operation::GET_QUALIFIER_TYPE, ns, &name});
    return decodeResult([&] { return Codec::decodeQualifierType(bytesOf(answer)); });
}

void ClientCIMOMHandle::enumQualifierTypes(const String& ns,
                                           CIMQualifierTypeResultHandlerIFC& result) {
    enumerate({Operation::ENUM_QUALIFIER_TYPES, ns}, result, Codec::decodeQualifierType);
}

void ClientCIMOMHandle::setQualifierType(const String& ns, const CIMQualifierType& qualifierType) {
    ClientCall call{Operation::SET_QUALIFIER_TYPE, ns};
    call.object = encodeArgument([&] { return Codec::encode(qualifierType); });
    carryOut(call);
}

void ClientCIMOMHandle::deleteQualifierType(const String& ns, const String& name) {
    carryOut({Operation::DELETE_QUALIFIER_TYPE, ns, &name});
}

}  // namespace OpenWBEM
