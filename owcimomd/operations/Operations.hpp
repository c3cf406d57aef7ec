// SPDX-License-Identifier: Apache-2.0
//
// Carries out requests: checks the user's rights and returns the results encoded. Each request is
// carried out to its end and committed before the next one begins.
#pragma once

#include <memory>

#include "owcimomd/access/AccessControl.hpp"
#include "owcimomd/operations/NamespaceInstances.hpp"
#include "owcimomd/operations/ServedRepository.hpp"
#include "rpc.capnp.h"

namespace OwCimomd {

struct NeededRight {
    String ns;
    Right right;
};

/// The remaining results of an enumeration, encoded.
class EncodedEnumeration {
public:
    virtual ~EncodedEnumeration() = default;
    /// Appends the next results to `portion`. False after the last ones.
    [[nodiscard]] virtual bool next(StringArray& portion) = 0;

    /// The rights that the user must have for each portion.
    void setNeededRights(Array<NeededRight> rights) { m_neededRights = std::move(rights); }
    const Array<NeededRight>& neededRights() const noexcept { return m_neededRights; }

private:
    Array<NeededRight> m_neededRights;
};

class Operations {
public:
    // Above what any class has. A request with more or longer names is refused with CIMException
    // INVALID_PARAMETER.
    static constexpr unsigned MAX_LISTED = 4096;
    static constexpr size_t MAX_NAME_SIZE = 8192;

    Operations(ServedRepository& repository, std::set<String> allowedUsers);

    const AccessControl& access() const noexcept { return m_access; }

    // These throw CIMException.

    /// The result of an operation that has at most one.
    String carryOut(const User& user, wire::Request::Reader request);
    /// Creates the objects, or modifies those that exist, in their order, until a time limit that
    /// keeps other clients served. Returns how many were stored, at least one. Throws
    /// ObjectStoringException; then none was.
    size_t store(const User& user, wire::Storing::Reader storing);
    std::unique_ptr<EncodedEnumeration> open(const User& user, wire::Request::Reader request);
    /// Appends the next results to `portion`; false after the last ones. Throws CIMException
    /// ACCESS_DENIED when the user no longer has the rights.
    bool next(const User& user, EncodedEnumeration& enumeration, StringArray& portion);
    /// Makes everything that was committed durable. Costs nothing when it is already, so a user who
    /// may only read cannot make the daemon sync more often than its writers do.
    void sync(const User& user);

private:
    class Arguments;
    struct Row;
    static const Row ROWS[];
    static const Row& rowOf(wire::Operation operation);
    using Results = std::unique_ptr<EncodedEnumeration>;

    /// Throws CIMException ACCESS_DENIED. Called before anything of the request is unpacked.
    void require(const User& user, const String& ns, Right right);
    String change(const Row& row, const Arguments& arguments);

    void requireForStoring(const User& user, const String& ns, wire::Storing::Reader storing);
    size_t storeSome(const String& ns, wire::Storing::Reader storing);

    String getClass(const Arguments& a);
    String createClass(const Arguments& a);
    String modifyClass(const Arguments& a);
    String deleteClass(const Arguments& a);
    String getInstance(const Arguments& a);
    String createInstance(const Arguments& a);
    String modifyInstance(const Arguments& a);
    String deleteInstance(const Arguments& a);
    String getQualifierType(const Arguments& a);
    String setQualifierType(const Arguments& a);
    String deleteQualifierType(const Arguments& a);

    Results enumClasses(const Arguments& a);
    Results enumClassNames(const Arguments& a);
    Results enumInstances(const Arguments& a);
    Results enumInstanceNames(const Arguments& a);
    Results enumQualifierTypes(const Arguments& a);
    CIMObjectPath source(const Arguments& a);
    Results associators(const Arguments& a);
    Results associatorNames(const Arguments& a);
    Results references(const Arguments& a);
    Results referenceNames(const Arguments& a);
    Results associatorsClasses(const Arguments& a);
    Results referencesClasses(const Arguments& a);

    ServedRepository& m_repository;
    RepositoryCIMOMHandle& m_handle;
    NamespaceInstances m_namespaces;
    AccessControl m_access;
    const User* m_user = nullptr;  // whose request is being carried out
    Array<NeededRight> m_needed;   // which it has needed
};

}  // namespace OwCimomd
