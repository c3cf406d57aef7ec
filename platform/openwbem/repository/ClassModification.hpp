// SPDX-License-Identifier: Apache-2.0
//
// Changes an existing class. A class with subclasses or instances may change only so that all of
// them stay valid: its superclass stays, each subclass can still be derived, and where there are
// instances their class keeps its properties, with their types and what may be embedded in them,
// and its keys. Objects that are embedded elsewhere stay valid too. Properties that are added come
// into the instances with their defaults.
#pragma once

#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

class ClassModification {
public:
    ClassModification(RepositoryStore& store, int64_t ns) : m_store(store), m_ns(ns) {}

    /// Throws CIMException NOT_FOUND, INVALID_SUPERCLASS, CLASS_HAS_CHILDREN, CLASS_HAS_INSTANCES,
    /// or what is wrong with the declaration itself. Then nothing has been written.
    void apply(const CIMClass& declared);

private:
    struct Change {
        int64_t id;
        CIMClass before;
        CIMClass after;
        bool hasInstances;
    };

    CIMClass deriveModified(const CIMClass& declared, int64_t& superId);
    /// The class itself and all classes below it, as they will be.
    Array<Change> derivedChanges(const StoredClass& old, const CIMClass& after);
    static void checkInstances(const Change& change);
    /// Checks the objects that are embedded elsewhere.
    void checkEmbedded(const Array<Change>& changes);
    void completeInstances(const Change& change);

    RepositoryStore& m_store;
    int64_t m_ns;
};

}  // namespace OpenWBEM
