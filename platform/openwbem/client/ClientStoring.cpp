// SPDX-License-Identifier: Apache-2.0
//
// Storing many objects: as many with one call as a daemon accepts from any user. Of a class only
// what it declares itself is sent; the daemon has its superclass.
#include "openwbem/client/ClientResults.hpp"

namespace OpenWBEM {

namespace {

/// Less than the least that a daemon can be configured to accept as a request.
constexpr size_t CALL_BYTES = size_t{48} << 10U;

/// Gathers encoded objects and sends them when they are enough for a call.
class Sender {
public:
    Sender(ClientConnection& connection, const String& ns, const blocxx::Timeout& timeout)
        : m_connection(connection), m_timeout(timeout), m_storing{ns} {}

    template <class Object, class Encode>
    void add(const Array<Object>& objects, StringArray ClientStoring::*list, Encode encode) {
        for (const Object& object : objects) {
            const String encoded = encodeArgument([&] { return encode(object); });
            if (m_storing.size() > 0 && m_bytes + encoded.size() > CALL_BYTES) {
                send();
            }
            m_bytes += encoded.size();
            (m_storing.*list).push_back(encoded);
        }
    }

    /// A change whose answer was not waited for could not be told from one that failed.
    void send() {
        blocxx::Interruption::check();
        const blocxx::Interruption::Deferred deferred;
        try {
            m_connection.store(m_storing, m_timeout);
        } catch (const ObjectStoringException& e) {
            throw ObjectStoringException(m_sent + e.index(), e);
        }
        m_sent += m_storing.size();
        m_storing.clear();
        m_bytes = 0;
    }

    size_t waiting() const noexcept { return m_storing.size(); }

private:
    ClientConnection& m_connection;
    blocxx::Timeout m_timeout;
    ClientStoring m_storing;
    size_t m_bytes = 0;
    size_t m_sent = 0;
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
    if (sender.waiting() > 0) {
        sender.send();
    }
}

}  // namespace OpenWBEM
