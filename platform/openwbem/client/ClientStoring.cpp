// SPDX-License-Identifier: Apache-2.0
//
// Part of ClientCIMOMHandle: storing many objects with few calls. Of a class only what it declares
// itself is sent; the daemon has its superclass.
#include "blocxx/Interruption.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/client/ClientConnection.hpp"
#include "openwbem/wire/CIMCodec.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OpenWBEM {

namespace {

/// Well below the smallest limit on requests that a daemon can be configured to have. Each call is
/// a transaction, which writes every page that it touches to the log.
constexpr size_t CALL_BYTES = size_t{256} << 10U;

/// Collects encoded objects and sends them when they fill a call.
class Sender {
public:
    Sender(ClientConnection& connection, const String& ns, const blocxx::Timeout& timeout)
        : m_connection(connection), m_timeout(timeout), m_storing{ns} {}

    template <class Object, class Encode>
    void add(const Array<Object>& objects, StringArray ClientStoring::*list, Encode encode) {
        for (const Object& object : objects) {
            const String encoded = Codec::operand([&] { return encode(object); });
            const bool isFull =
                m_bytes + encoded.size() > CALL_BYTES || m_storing.size() == RpcLimits::MAX_OBJECTS;
            if (m_bytes > 0 && isFull) {
                send();
            }
            m_bytes += encoded.size();
            (m_storing.*list).push_back(encoded);
        }
    }

    /// Waits for each answer even after a signal: without it, a change could not be told from a
    /// failure.
    void send() {
        while (m_storing.size() > 0) {
            blocxx::Interruption::check();
            const blocxx::Interruption::Deferred deferred;
            try {
                const size_t stored = m_connection.store(m_storing, m_timeout);
                m_storing.removeFirst(stored);
                m_stored += stored;
            } catch (const ObjectStoringException& e) {
                throw ObjectStoringException(m_stored + e.index(), e);
            }
        }
        m_bytes = 0;
    }

private:
    ClientConnection& m_connection;
    blocxx::Timeout m_timeout;
    ClientStoring m_storing;
    size_t m_bytes = 0;
    size_t m_stored = 0;
};

}  // namespace

void ClientCIMOMHandle::store(const String& ns, const ObjectsToStore& objects) {
    Sender sender(*m_connection, ns, m_protocol->getTimeout());
    sender.add(objects.qualifierTypes, &ClientStoring::qualifierTypes,
               [](const CIMQualifierType& object) { return Codec::encode(object); });
    sender.add(objects.classes, &ClientStoring::classes,
               [](const CIMClass& object) { return Codec::encode(object); });
    sender.add(objects.instances, &ClientStoring::instances,
               [](const CIMInstance& object) { return Codec::encodeView(object); });
    sender.send();
}

}  // namespace OpenWBEM
