// SPDX-License-Identifier: Apache-2.0
//
// A connection to the daemon. It is made at the first call and made again at the first call after
// it was lost. A call that was in flight when the connection was lost fails and is not repeated:
// the daemon may have carried it out.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <span>

#include "openwbem/client/Patience.hpp"
#include "openwbem/client/WBEMProtocolHandler.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/ObjectStoring.hpp"
#include "rpc.capnp.h"

namespace OpenWBEM {

/// Encoded objects to store (wire::Storing).
struct ClientStoring {
    const String& ns;
    StringArray qualifierTypes{};
    StringArray classes{};
    StringArray instances{};

    size_t size() const noexcept {
        return qualifierTypes.size() + classes.size() + instances.size();
    }
    void removeFirst(size_t count) {
        for (StringArray* list : {&qualifierTypes, &classes, &instances}) {
            const size_t here = std::min(count, list->size());
            list->erase(list->begin(), list->begin() + static_cast<std::ptrdiff_t>(here));
            count -= here;
        }
    }
};

class ClientConnection {
public:
    using Bytes = std::span<const std::byte>;

    explicit ClientConnection(String socketPath);
    /// Never fails.
    ~ClientConnection();
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    // These throw the CIMException that the operation failed with, or CIMException FAILED when the
    // daemon cannot be reached or the connection is lost.

    void ping(const blocxx::Timeout& timeout);
    /// Makes everything durable that the daemon has answered.
    void sync(const blocxx::Timeout& timeout);
    /// The encoded result.
    String carryOut(const OperationCall& call, const blocxx::Timeout& timeout);
    /// Stores objects from the beginning of the list, which is not empty. Returns how many were
    /// stored, at least one. Throws ObjectStoringException with the index of an object that cannot
    /// be stored; then none was stored.
    size_t store(const ClientStoring& storing, const blocxx::Timeout& timeout);
    /// Calls `visit` with each encoded result.
    void enumerate(const OperationCall& call, const blocxx::Timeout& timeout,
                   const std::function<void(Bytes)>& visit);

private:
    class Session;
    class Enumerating;

    /// Connects if necessary and sends the call that `fill` writes. Returns its id.
    uint64_t send(const std::function<void(wire::Call::Builder)>& fill,
                  const blocxx::Timeout& timeout);
    /// A call without arguments and without a result.
    void call(const std::function<void(wire::Call::Builder)>& fill, const blocxx::Timeout& timeout);
    template <class Action>
    auto guarded(Action action);
    [[noreturn]] void fail(const char* reason);

    String m_path;
    Patience m_patience;
    std::shared_ptr<Session> m_session;
};

}  // namespace OpenWBEM
