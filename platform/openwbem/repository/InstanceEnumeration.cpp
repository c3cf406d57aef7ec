// SPDX-License-Identifier: Apache-2.0
//
// The instances and the instance names of a class (DSP0200 5.3.2.11, 5.3.2.12), in portions.
#include "openwbem/repository/InstanceForm.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM::RepositoryOperations {

namespace {

/// Goes through the rows of a class and of those below it, as they were at the start: class by
/// class, in the order of creation.
class InstanceWalk {
public:
    InstanceWalk(RepositoryStore& store, const OperationCall& call)
        : m_store(store),
          m_ns(store.namespaces.require(call.ns)),
          m_top(store.classes.require(m_ns.id, call.as<String>(), CIMException::INVALID_CLASS)),
          m_classes(store.classes.descendants(m_ns.id, {m_top.id, m_top.cls.getName()})),
          m_end(store.instances.nextId()) {}

    /// The next rows, all of one class; none after the last ones.
    Array<InstanceTable::Blob> nextPortion(InstanceTable::Column column) {
        while (m_at < m_classes.size()) {
            Array<InstanceTable::Blob> portion =
                isStillThere() ? m_store.instances.blobsAfter(column, current().id, m_last, m_end)
                               : Array<InstanceTable::Blob>();
            if (!portion.empty()) {
                m_last = portion.back().first;
                return portion;
            }
            ++m_at;
            m_last = 0;
        }
        return {};
    }

    RepositoryStore& store() const noexcept { return m_store; }
    const NamespaceRow& nameSpace() const noexcept { return m_ns; }
    const CIMClass& topClass() const noexcept { return m_top.cls; }
    /// The class of the portion delivered last.
    const ClassName& current() const { return m_classes[m_at]; }

private:
    /// The ids of deleted classes are given out again.
    bool isStillThere() const {
        const auto found = m_store.classes.find(m_ns.id, current().spelling);
        return found && found->id == current().id;
    }

    RepositoryStore& m_store;
    NamespaceRow m_ns;
    StoredClass m_top;
    Array<ClassName> m_classes;
    size_t m_at = 0;
    int64_t m_last = 0;
    int64_t m_end;
};

class InstanceEnumeration : public Enumeration<CIMInstance> {
public:
    InstanceEnumeration(RepositoryStore& store, const OperationCall& call)
        : m_walk(store, call), m_form(call.wanted, m_walk.nameSpace().spelling) {
        if (call.deep != E_DEEP) {
            m_form.setOnlyPropertiesOf(m_walk.topClass());
        }
    }

    bool next(CIMInstanceResultHandlerIFC& result) override {
        const auto portion = m_walk.nextPortion(InstanceTable::Column::BODY);
        if (portion.empty()) {
            return false;
        }
        std::optional<StoredClass> cls;
        if (m_form.needsClass()) {
            cls = m_walk.store().classes.find(m_walk.nameSpace().id, m_walk.current().spelling);
        }
        for (const auto& [id, body] : portion) {
            CIMInstance instance = StoredForm::instance(StoredForm::bytesOf(body));
            result.handle(m_form.of(std::move(instance), cls ? &cls->cls : nullptr));
        }
        return true;
    }

private:
    InstanceWalk m_walk;
    InstanceForm m_form;
};

class InstanceNameEnumeration : public Enumeration<CIMObjectPath> {
public:
    InstanceNameEnumeration(RepositoryStore& store, const OperationCall& call)
        : m_walk(store, call) {}

    bool next(CIMObjectPathResultHandlerIFC& result) override {
        const auto portion = m_walk.nextPortion(InstanceTable::Column::PATH);
        for (const auto& [id, bytes] : portion) {
            CIMObjectPath path = StoredForm::path(StoredForm::bytesOf(bytes));
            result.handle(path.setNameSpace(m_walk.nameSpace().spelling));
        }
        return !portion.empty();
    }

private:
    InstanceWalk m_walk;
};

}  // namespace

EnumerationPtr<CIMInstance> openInstances(RepositoryStore& store, const OperationCall& call) {
    return std::make_unique<InstanceEnumeration>(store, call);
}

EnumerationPtr<CIMObjectPath> openInstanceNames(RepositoryStore& store, const OperationCall& call) {
    return std::make_unique<InstanceNameEnumeration>(store, call);
}

}  // namespace OpenWBEM::RepositoryOperations
