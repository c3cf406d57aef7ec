// SPDX-License-Identifier: Apache-2.0
#include "openwbem/client/ClientCIMOMHandle.hpp"

#include <optional>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "layout/Layout.hpp"
#include "openwbem/client/ClientConnection.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM {

namespace {

/// Throws OutcomeUnknownException for a result that cannot be decoded: it was perhaps created.
template <class T>
T decodeResult(ClientConnection::Bytes bytes) {
    try {
        return Codec::decodeView<T>(bytes);
    } catch (const Codec::CodecException& e) {
        throw OutcomeUnknownException(
            __FILE__, __LINE__, String("The answer of owcimomd cannot be read: ") + e.getMessage());
    }
}

}  // namespace

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

OperationResult ClientCIMOMHandle::carryOut(const OperationCall& call) {
    blocxx::Interruption::check();
    const OperationTraits& traits = traitsOf(call.operation);
    if (traits.effect == OperationTraits::Effect::ENUMERATES) {
        std::visit([&](auto* results) { enumerate(call, *results); }, call.results);
        return {};
    }
    // A change must be waited for even after a signal: without its answer the caller cannot know
    // whether there is something to undo.
    std::optional<blocxx::Interruption::Deferred> deferred;
    if (traits.effect == OperationTraits::Effect::CHANGES) {
        deferred.emplace();
    }
    const String answer = m_connection->carryOut(call, m_protocol->getTimeout());
    const auto bytes = std::as_bytes(std::span(answer.data(), answer.size()));
    switch (call.operation) {
        case Operation::GET_CLASS:
            return decodeResult<CIMClass>(bytes);
        case Operation::GET_INSTANCE:
            return decodeResult<CIMInstance>(bytes);
        case Operation::GET_QUALIFIER_TYPE:
            return decodeResult<CIMQualifierType>(bytes);
        case Operation::CREATE_INSTANCE:
            return decodeResult<CIMObjectPath>(bytes);
        default:
            return {};
    }
}

template <class T>
void ClientCIMOMHandle::enumerate(const OperationCall& call, ResultHandlerIFC<T>& results) {
    m_connection->enumerate(call, m_protocol->getTimeout(), [&](ClientConnection::Bytes bytes) {
        blocxx::Interruption::check();
        results.handle(decodeResult<T>(bytes));
    });
}

}  // namespace OpenWBEM
