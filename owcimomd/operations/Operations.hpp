// SPDX-License-Identifier: Apache-2.0
//
// Carries out requests: checks the user's rights and hands the results out. Each request is carried
// out to its end and committed before the next one begins.
#pragma once

#include "owcimomd/operations/Audit.hpp"
#include "owcimomd/operations/ComputedInstances.hpp"
#include "owcimomd/operations/Request.hpp"
#include "owcimomd/operations/ServedRepository.hpp"

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

    /// The namespace that a client means: the interop namespace is also found under the names that
    /// it usually has (DSP1033), unless there is a namespace of that name.
    String nameSpaceFor(const String& name);

    // These throw CIMException.

    /// Carries out an operation that has at most one result. `receive` gets the result before the
    /// commit: when it throws, nothing is changed.
    void carryOut(const User& user, Request& request, const ResultReceiver& receive);
    /// Creates the objects, or modifies those that exist, in their order, until a time limit that
    /// keeps other clients served. Returns how many were stored, at least one. Throws
    /// ObjectStoringException; then none was.
    size_t store(const User& user, const Storing& storing);
    PermittedEnumeration open(const User& user, Request& request);
    /// Throws CIMException ACCESS_DENIED when the user no longer has the rights. For whoever hands
    /// out later what next() has handed out.
    void requireStill(const User& user, const PermittedEnumeration& enumeration);
    /// Hands out the next results; false after the last ones. Throws as requireStill() does.
    bool next(const User& user, PermittedEnumeration& enumeration, const ResultReceiver& receive);
    /// Makes everything that was committed durable. Costs nothing when it is already, so a user who
    /// may only read cannot make the daemon sync more often than its writers do.
    void sync(const User& user);

private:
    void carryOut(Deed& deed, Request& request, const ResultReceiver& receive);
    void change(Deed& deed, const OperationCall& call, const ResultReceiver& receive);
    OperationResult carryOut(const OperationCall& call);
    void requireForStoring(const User& user, const String& ns, const Storing& storing);
    size_t store(Deed& deed, const Storing& storing);
    size_t storeSome(Deed& deed, const Storing& storing);
    PermittedEnumeration open(Deed& deed, Request& request);
    /// Throws CIMException ACCESS_DENIED.
    void require(Deed& deed, const String& ns, Right right);

    ServedRepository& m_repository;
    RepositoryCIMOMHandle& m_handle;
    ComputedInstances m_computed;
    AccessControl m_access;
    Audit m_audit;
    const User* m_user = nullptr;  // whose request is being carried out
};

}  // namespace OwCimomd
