// SPDX-License-Identifier: Apache-2.0
//
// Which instances refer to an object and which objects they lead to (DSP0200 5.3.2.17 to 5.3.2.20),
// found through the index of references.
#pragma once

#include <functional>
#include <unordered_set>

#include "openwbem/model/OperationCall.hpp"
#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

class AssociationQuery {
public:
    /// Associations are looked for in the call's namespace; the object is in its path's namespace,
    /// or in that one when the path names none. Throws CIMException INVALID_NAMESPACE, or
    /// INVALID_PARAMETER for a path without keys, keys that its class does not have, or a filter
    /// that is no name.
    AssociationQuery(RepositoryStore& store, const OperationCall& call);

    const NamespaceRow& nameSpace() const noexcept { return m_ns; }

    // Each call goes through the next portion of the references to the object; false when it was
    // the last one.

    /// The associations themselves, each once: filtered by resultClass and role.
    bool nextReferring(const std::function<void(const InstanceRow&)>& visit);
    /// The paths of the objects at other ends, each once: filtered by all four. They need not
    /// exist.
    bool nextOtherEnds(const std::function<void(const CIMObjectPath&)>& visit);

private:
    /// References to the object whose association is of that class, and whose role fits.
    bool nextReferences(const String& assocClass,
                        const std::function<void(const ReferenceRow&)>& visit);
    void visitOtherEnds(const ReferenceRow& row,
                        const std::function<void(const CIMObjectPath&)>& visit);
    bool isOfResultClass(const CIMObjectPath& path);

    RepositoryStore& m_store;
    NamespaceRow m_ns;
    AssociationFilter m_filter;
    String m_target;
    int64_t m_end;
    ReferenceRow m_last{0, 0, String()};
    int64_t m_lastReferring = 0;
    std::unordered_set<String> m_seen;
};

/// The same among classes: which association classes can refer to a class, and what they lead to.
class ClassAssociationQuery {
public:
    ClassAssociationQuery(RepositoryStore& store, const OperationCall& call);

    void forEachReferring(const std::function<void(const CIMClass&)>& visit);
    void forEachOtherEnd(const std::function<void(const CIMClass&)>& visit);

private:
    using Visit = std::function<void(const CIMClass& association, const String& role)>;
    void forEachReference(const String& assocClass, const Visit& visit);
    bool isA(const String& className, const String& ancestor);

    RepositoryStore& m_store;
    int64_t m_ns;
    String m_className;
    AssociationFilter m_filter;
};

}  // namespace OpenWBEM
