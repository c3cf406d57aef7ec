// SPDX-License-Identifier: Apache-2.0
//
// The classes, the class names and the qualifier types of a namespace (DSP0200 5.3.2.9, 5.3.2.10,
// 5.3.2.28), in portions.
#include <algorithm>

#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM::RepositoryOperations {

namespace {

/// Classes are large; names and qualifier types are not.
constexpr size_t CLASSES_IN_PORTION = 32;
constexpr size_t SMALL_OBJECTS_IN_PORTION = 512;

/// The classes that an enumeration delivers, as they are at its start.
Array<ClassName> select(RepositoryStore& store, int64_t ns, const OperationCall& call) {
    const String& className = call.as<String>();
    ClassName top{0, String()};
    if (!className.empty()) {
        const auto found = store.classes.require(ns, className, CIMException::INVALID_CLASS);
        top = {found.id, found.cls.getName()};
    }
    if (call.deep == E_SHALLOW) {
        return store.classes.children(ns, top.id);
    }
    Array<ClassName> all = store.classes.descendants(ns, top);
    if (top.id != 0) {
        all.erase(all.begin());
    }
    return all;
}

class ClassEnumeration : public Enumeration<CIMClass> {
public:
    ClassEnumeration(RepositoryStore& store, const OperationCall& call)
        : m_store(store),
          m_ns(store.namespaces.require(call.ns).id),
          m_names(select(store, m_ns, call)),
          m_filter(call.wanted) {}

    bool next(CIMClassResultHandlerIFC& result) override {
        const size_t end = std::min(m_names.size(), m_at + CLASSES_IN_PORTION);
        for (; m_at < end; ++m_at) {
            // Somebody may have deleted it.
            if (const auto found = m_store.classes.find(m_ns, m_names[m_at].spelling)) {
                result.handle(found->cls.filter(m_filter));
            }
        }
        return m_at < m_names.size();
    }

private:
    RepositoryStore& m_store;
    int64_t m_ns;
    Array<ClassName> m_names;
    ModelSupport::ObjectFilter m_filter;
    size_t m_at = 0;
};

class ClassNameEnumeration : public Enumeration<String> {
public:
    explicit ClassNameEnumeration(Array<ClassName> names) : m_names(std::move(names)) {}

    bool next(StringResultHandlerIFC& result) override {
        const size_t end = std::min(m_names.size(), m_at + SMALL_OBJECTS_IN_PORTION);
        for (; m_at < end; ++m_at) {
            result.handle(m_names[m_at].spelling);
        }
        return m_at < m_names.size();
    }

private:
    Array<ClassName> m_names;
    size_t m_at = 0;
};

class QualifierTypeEnumeration : public Enumeration<CIMQualifierType> {
public:
    explicit QualifierTypeEnumeration(Array<CIMQualifierType> types) : m_types(std::move(types)) {}

    bool next(CIMQualifierTypeResultHandlerIFC& result) override {
        const size_t end = std::min(m_types.size(), m_at + SMALL_OBJECTS_IN_PORTION);
        for (; m_at < end; ++m_at) {
            result.handle(m_types[m_at]);
        }
        return m_at < m_types.size();
    }

private:
    Array<CIMQualifierType> m_types;
    size_t m_at = 0;
};

}  // namespace

EnumerationPtr<CIMClass> openClasses(RepositoryStore& store, const OperationCall& call) {
    return std::make_unique<ClassEnumeration>(store, call);
}

EnumerationPtr<String> openClassNames(RepositoryStore& store, const OperationCall& call) {
    return std::make_unique<ClassNameEnumeration>(
        select(store, store.namespaces.require(call.ns).id, call));
}

EnumerationPtr<CIMQualifierType> openQualifierTypes(RepositoryStore& store,
                                                    const OperationCall& call) {
    return std::make_unique<QualifierTypeEnumeration>(
        store.qualifiers.types(store.namespaces.require(call.ns).id)->all());
}

}  // namespace OpenWBEM::RepositoryOperations
