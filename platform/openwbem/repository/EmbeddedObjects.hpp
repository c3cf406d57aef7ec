// SPDX-License-Identifier: Apache-2.0
//
// Guards objects that are embedded in the instances and class defaults of a namespace. A class or
// qualifier type that they use may only change so that all of them stay valid, and cannot be
// deleted, just as for stored instances.
//
// The names that they use are collected by reading all holders once, and cached. Names of deleted
// objects stay in the cache until one of them is looked up; then everything is read again.
#pragma once

#include <map>
#include <unordered_map>

#include "openwbem/repository/ClassTable.hpp"
#include "openwbem/repository/EmbeddedValues.hpp"
#include "openwbem/repository/InstanceTable.hpp"

namespace OpenWBEM {

class EmbeddedObjects {
public:
    /// What is to become of classes and a qualifier type; their names are in lower case. Empty: it
    /// is deleted.
    struct Change {
        std::map<String, std::optional<CIMClass>> classes;
        std::map<String, std::optional<CIMQualifierType>> qualifierTypes;
    };

    EmbeddedObjects(QualifierTable& qualifiers, ClassTable& classes, InstanceTable& instances)
        : m_qualifiers(qualifiers), m_classes(classes), m_instances(instances) {}

    /// What the first object that would not be valid any more says of it, with the property and the
    /// instance or class that holds it; empty when all stay valid. Objects that refer to nothing
    /// that changes are not looked at.
    String findInvalid(int64_t ns, const Change& change);

    /// The instance of `cls`, which is complete itself and is to be stored, with what is embedded
    /// in it completed. Throws CIMException (see completeEmbedded) unless that fits the namespace.
    /// Takes note of it.
    CIMInstance completeStored(int64_t ns, CIMInstance instance, const CIMClass& cls);
    /// Must be called for each class that is stored.
    void noteClass(int64_t ns, const CIMClass& cls);
    void forget() noexcept { m_known.clear(); }

private:
    /// An instance or a class, with its properties and their class.
    struct Holder {
        String name;
        CIMPropertyArray properties;
        CIMClass cls;
    };
    using Visit = std::function<void(const Holder&)>;

    EmbeddingSchema schema(int64_t ns, const Change& change);
    const EmbeddedNames& names(int64_t ns);
    static EmbeddedNames namesIn(const CIMPropertyArray& properties);
    /// Calls `visit` for all that may hold objects.
    void forEachHolder(int64_t ns, const Visit& visit);
    void forEachInstance(const StoredClass& stored, const Visit& visit);

    QualifierTable& m_qualifiers;
    ClassTable& m_classes;
    InstanceTable& m_instances;
    std::unordered_map<int64_t, EmbeddedNames> m_known;
};

}  // namespace OpenWBEM
