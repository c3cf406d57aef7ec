// SPDX-License-Identifier: Apache-2.0
//
// A connection to the daemon: carries operations over and brings their results back. It is made
// with the first call, and again with the first call after it was lost; a call that was under way
// when that happened fails and is not repeated, as nobody knows whether it was carried out.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <span>

#include "openwbem/client/WBEMProtocolHandler.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/ObjectStoring.hpp"
#include "rpc.capnp.h"

namespace OpenWBEM {

/// An operation with its arguments (wire::Request).
struct ClientCall {
    wire::Operation operation;
    const String& ns;
    const String* name = nullptr;
    String object{};
    bool deep = false;
    bool localOnly = false;
    bool includeQualifiers = false;
    bool includeClassOrigin = false;
    const StringArray* propertyList = nullptr;
    const AssociationFilter* filter = nullptr;
};

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
    /// Never fails, whatever has become of the daemon.
    ~ClientConnection();
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    // These throw CIMException: what the operation failed with, or FAILED when the daemon cannot be
    // reached or the connection is lost.

    void ping(const blocxx::Timeout& timeout);
    /// Has the daemon make everything durable that it has answered.
    void sync(const blocxx::Timeout& timeout);
    /// The encoded result.
    String carryOut(const ClientCall& call, const blocxx::Timeout& timeout);
    /// Stores some of the objects, from the beginning; there must be one. Returns how many, at
    /// least one. Throws ObjectStoringException with the index of the one that could not be stored;
    /// then none was.
    size_t store(const ClientStoring& storing, const blocxx::Timeout& timeout);
    /// Hands over each encoded result.
    void enumerate(const ClientCall& call, const blocxx::Timeout& timeout,
                   const std::function<void(Bytes)>& visit);

private:
    class Session;
    class Enumerating;

    /// Sends the call that `fill` puts together; connects when that has to be done.
    uint64_t send(const std::function<void(wire::Call::Builder)>& fill,
                  const blocxx::Timeout& timeout);
    /// A call without arguments and without a result.
    void call(const std::function<void(wire::Call::Builder)>& fill, const blocxx::Timeout& timeout);
    template <class Action>
    auto guarded(Action action);
    [[noreturn]] void fail(const char* reason);

    String m_path;
    std::shared_ptr<Session> m_session;
};

}  // namespace OpenWBEM
