// SPDX-License-Identifier: Apache-2.0
//
// Carries out the requests of users: checks that they may, and hands the results back encoded. Each
// request is carried out to its end and committed before the next one begins.
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

/// The results of an enumeration that are still to come, encoded.
class EncodedEnumeration {
public:
    virtual ~EncodedEnumeration() = default;
    /// Appends the next ones to `portion`; false when these were the last ones.
    [[nodiscard]] virtual bool next(StringArray& portion) = 0;

    /// The rights that its user needs for each of its portions.
    void setNeededRights(Array<NeededRight> rights) { m_neededRights = std::move(rights); }
    const Array<NeededRight>& neededRights() const noexcept { return m_neededRights; }

private:
    Array<NeededRight> m_neededRights;
};

class Operations {
public:
    // More and longer names than any class has: a request that goes beyond is refused with
    // CIMException INVALID_PARAMETER.
    static constexpr unsigned MAX_LISTED = 4096;
    static constexpr size_t MAX_NAME_SIZE = 8192;

    Operations(ServedRepository& repository, std::set<String> allowedUsers);

    const AccessControl& access() const noexcept { return m_access; }

    // These throw CIMException.

    /// The result of an operation that has at most one.
    String carryOut(const User& user, wire::Request::Reader request);
    /// Creates the objects, or changes them where they exist: as many from the beginning as others
    /// can wait for. Returns how many, at least one. Throws ObjectStoringException; then none.
    size_t store(const User& user, wire::Storing::Reader storing);
    std::unique_ptr<EncodedEnumeration> open(const User& user, wire::Request::Reader request);
    /// Appends the next portion of an enumeration of that user, who must still have the rights.
    bool next(const User& user, EncodedEnumeration& enumeration, StringArray& portion);
    /// Makes durable what has been committed. Costs nothing when that is all durable already, so
    /// that nobody who may only read can make the daemon sync more than its writers do.
    void sync(const User& user);

private:
    class Arguments;
    struct Row;
    static const Row ROWS[];
    static const Row& rowOf(wire::Operation operation);
    using Rest = std::unique_ptr<EncodedEnumeration>;

    /// Checks the right before anything of the request is unpacked.
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

    Rest enumClasses(const Arguments& a);
    Rest enumClassNames(const Arguments& a);
    Rest enumInstances(const Arguments& a);
    Rest enumInstanceNames(const Arguments& a);
    Rest enumQualifierTypes(const Arguments& a);
    CIMObjectPath source(const Arguments& a);
    Rest associators(const Arguments& a);
    Rest associatorNames(const Arguments& a);
    Rest references(const Arguments& a);
    Rest referenceNames(const Arguments& a);
    Rest associatorsClasses(const Arguments& a);
    Rest referencesClasses(const Arguments& a);

    ServedRepository& m_repository;
    RepositoryCIMOMHandle& m_handle;
    NamespaceInstances m_namespaces;
    AccessControl m_access;
    const User* m_user = nullptr;  // whose request is being carried out
    Array<NeededRight> m_needed;   // which it has needed
};

}  // namespace OwCimomd
