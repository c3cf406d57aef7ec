// SPDX-License-Identifier: Apache-2.0
//
// The operations on associations (DSP0200 5.3.2.17 to 5.3.2.20), in portions. The objects that
// associations lead to are read through the environment, as they need not be in this repository's
// care.
#include <algorithm>

#include "openwbem/repository/AssociationQuery.hpp"
#include "openwbem/repository/InstanceForm.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM::RepositoryOperations {

namespace {

/// A reference may lead to nothing: what it names was deleted or never there.
bool isMissing(const CIMException& e) {
    switch (e.getErrNo()) {
        case CIMException::NOT_FOUND:
        case CIMException::INVALID_CLASS:
        case CIMException::INVALID_NAMESPACE:
        case CIMException::INVALID_PARAMETER:
            return true;
        default:
            return false;
    }
}

/// The objects at other ends that exist.
class OtherEnds {
public:
    OtherEnds(AssociationQuery query, CIMOMHandleIFCRef handle, const WantedParts& wanted)
        : m_query(std::move(query)),
          m_handle(std::move(handle)),
          m_wanted(wanted),
          m_listed({E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN,
                    wanted.propertyList}) {
        m_wanted.propertyList = nullptr;
    }

    template <class Visit>
    bool next(Visit visit) {
        return m_query.nextOtherEnds([&](const CIMObjectPath& path) {
            if (const auto instance = read(path)) {
                visit(path, *instance);
            }
        });
    }

private:
    std::optional<CIMInstance> read(const CIMObjectPath& path) {
        try {
            CIMInstance instance =
                m_handle->getInstance(path.getNameSpace(), path, m_wanted.localOnly,
                                      m_wanted.qualifiers, m_wanted.classOrigin, nullptr);
            if (m_wanted.withPath) {
                instance.setPath(CIMObjectPath(path.getNameSpace(), instance));
            }
            return instance.filter(m_listed);
        } catch (const CIMException& e) {
            if (isMissing(e)) {
                return std::nullopt;
            }
            throw;
        }
    }

    AssociationQuery m_query;
    CIMOMHandleIFCRef m_handle;
    WantedParts m_wanted;
    ModelSupport::ObjectFilter m_listed;  // once for all objects
};

class AssociatorEnumeration : public Enumeration<CIMInstance> {
public:
    explicit AssociatorEnumeration(OtherEnds ends) : m_ends(std::move(ends)) {}
    bool next(CIMInstanceResultHandlerIFC& result) override {
        return m_ends.next(
            [&](const CIMObjectPath&, const CIMInstance& instance) { result.handle(instance); });
    }

private:
    OtherEnds m_ends;
};

class AssociatorNameEnumeration : public Enumeration<CIMObjectPath> {
public:
    explicit AssociatorNameEnumeration(OtherEnds ends) : m_ends(std::move(ends)) {}
    bool next(CIMObjectPathResultHandlerIFC& result) override {
        return m_ends.next([&](const CIMObjectPath& path, const CIMInstance& instance) {
            result.handle(CIMObjectPath(path.getNameSpace(), instance));
        });
    }

private:
    OtherEnds m_ends;
};

class ReferenceEnumeration : public Enumeration<CIMInstance> {
public:
    ReferenceEnumeration(RepositoryStore& store, AssociationQuery query, InstanceForm form)
        : m_store(store), m_query(std::move(query)), m_form(std::move(form)) {}

    bool next(CIMInstanceResultHandlerIFC& result) override {
        return m_query.nextReferring([&](const InstanceRow& row) {
            const auto cls = m_form.needsClass() ? m_store.classes.find(m_query.nameSpace().id,
                                                                        row.instance.getClassName())
                                                 : std::nullopt;
            result.handle(m_form.of(row.instance, cls ? &cls->cls : nullptr));
        });
    }

private:
    RepositoryStore& m_store;
    AssociationQuery m_query;
    InstanceForm m_form;
};

class ReferenceNameEnumeration : public Enumeration<CIMObjectPath> {
public:
    explicit ReferenceNameEnumeration(AssociationQuery query) : m_query(std::move(query)) {}
    bool next(CIMObjectPathResultHandlerIFC& result) override {
        return m_query.nextReferring([&](const InstanceRow& row) {
            result.handle(CIMObjectPath(m_query.nameSpace().spelling, row.instance));
        });
    }

private:
    AssociationQuery m_query;
};

/// Classes are few, so they are found at once; only handing them over is done in portions.
class FoundClasses : public Enumeration<CIMClass> {
public:
    FoundClasses(Array<CIMClass> classes, const WantedParts& wanted)
        : m_classes(std::move(classes)), m_filter(wanted) {}
    bool next(CIMClassResultHandlerIFC& result) override {
        constexpr size_t IN_PORTION = 32;
        const size_t end = std::min(m_classes.size(), m_at + IN_PORTION);
        for (; m_at < end; ++m_at) {
            result.handle(m_classes[m_at].filter(m_filter));
        }
        return m_at < m_classes.size();
    }

private:
    Array<CIMClass> m_classes;
    ModelSupport::ObjectFilter m_filter;
    size_t m_at = 0;
};

}  // namespace

EnumerationPtr<CIMInstance> openAssociators(RepositoryStore& store, const OperationCall& call,
                                            CIMOMHandleIFCRef handle) {
    return std::make_unique<AssociatorEnumeration>(
        OtherEnds(AssociationQuery(store, call), std::move(handle), call.wanted));
}

EnumerationPtr<CIMObjectPath> openAssociatorNames(RepositoryStore& store, const OperationCall& call,
                                                  CIMOMHandleIFCRef handle) {
    return std::make_unique<AssociatorNameEnumeration>(
        OtherEnds(AssociationQuery(store, call), std::move(handle), {}));
}

EnumerationPtr<CIMInstance> openReferences(RepositoryStore& store, const OperationCall& call) {
    AssociationQuery query(store, call);
    InstanceForm form(call.wanted, query.nameSpace().spelling);
    return std::make_unique<ReferenceEnumeration>(store, std::move(query), std::move(form));
}

EnumerationPtr<CIMObjectPath> openReferenceNames(RepositoryStore& store,
                                                 const OperationCall& call) {
    return std::make_unique<ReferenceNameEnumeration>(AssociationQuery(store, call));
}

EnumerationPtr<CIMClass> openAssociatorsClasses(RepositoryStore& store, const OperationCall& call) {
    Array<CIMClass> found;
    ClassAssociationQuery(store, call).forEachOtherEnd([&](const CIMClass& cls) {
        found.push_back(cls);
    });
    return std::make_unique<FoundClasses>(std::move(found), call.wanted);
}

EnumerationPtr<CIMClass> openReferencesClasses(RepositoryStore& store, const OperationCall& call) {
    Array<CIMClass> found;
    ClassAssociationQuery(store, call).forEachReferring([&](const CIMClass& cls) {
        found.push_back(cls);
    });
    return std::make_unique<FoundClasses>(std::move(found), call.wanted);
}

}  // namespace OpenWBEM::RepositoryOperations
