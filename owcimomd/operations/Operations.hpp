// SPDX-License-Identifier: Apache-2.0
//
// Carries out requests: checks the user's rights and returns the results encoded. Each request is
// carried out to its end and committed before the next one begins.
#pragma once

#include "owcimomd/operations/Audit.hpp"
#include "owcimomd/operations/NamespaceInstances.hpp"
#include "owcimomd/operations/ServedRepository.hpp"
#include "rpc.capnp.h"

namespace OwCimomd {

struct NeededRight {
    String ns;
    Right right;
};

/// An enumeration with the rights that its user must have for each portion.
struct PermittedEnumeration {
    AnyEnumeration results;
    Array<NeededRight> neededRights;
    const char* operation;
};

class Operations {
public:
    Operations(ServedRepository& repository, std::set<String> allowedUsers);

    const AccessControl& access() const noexcept { return m_access; }

    // These throw CIMException.

    /// The encoded result of an operation that has at most one; empty when it has none.
    String carryOut(const User& user, wire::Request::Reader request);
    /// Creates the objects, or modifies those that exist, in their order, until a time limit that
    /// keeps other clients served. Returns how many were stored, at least one. Throws
    /// ObjectStoringException; then none was.
    size_t store(const User& user, wire::Storing::Reader storing);
    PermittedEnumeration open(const User& user, wire::Request::Reader request);
    /// Appends the next results, encoded, to `portion`; false after the last ones. Throws
    /// CIMException ACCESS_DENIED when the user no longer has the rights.
    bool next(const User& user, PermittedEnumeration& enumeration, StringArray& portion);
    /// Makes everything that was committed durable. Costs nothing when it is already, so a user who
    /// may only read cannot make the daemon sync more often than its writers do.
    void sync(const User& user);

private:
    String carryOut(Deed& deed, wire::Request::Reader request);
    OperationResult carryOut(const OperationCall& call);
    void requireForStoring(const User& user, const String& ns, wire::Storing::Reader storing);
    size_t store(Deed& deed, wire::Storing::Reader storing);
    size_t storeSome(Deed& deed, wire::Storing::Reader storing);
    PermittedEnumeration open(Deed& deed, wire::Request::Reader request);
    /// Throws CIMException ACCESS_DENIED.
    void require(Deed& deed, const String& ns, Right right);

    ServedRepository& m_repository;
    RepositoryCIMOMHandle& m_handle;
    NamespaceInstances m_namespaces;
    AccessControl m_access;
    Audit m_audit;
    const User* m_user = nullptr;  // whose request is being carried out
};

}  // namespace OwCimomd
