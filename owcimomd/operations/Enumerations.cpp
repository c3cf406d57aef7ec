// SPDX-License-Identifier: Apache-2.0
//
// Part of Operations: the enumerations. Their results are encoded as they are asked for.
#include "owcimomd/operations/Arguments.hpp"
#include "owcimomd/operations/Operations.hpp"

namespace OwCimomd {

namespace {

template <class T, class Encode>
class Encoded : public EncodedEnumeration {
public:
    Encoded(EnumerationPtr<T> source, Encode encode)
        : m_source(std::move(source)), m_encode(encode) {}

    bool next(StringArray& portion) override {
        auto append =
            makeResultHandler<T>([&](const T& object) { portion.push_back(m_encode(object)); });
        return m_source->next(append);
    }

private:
    EnumerationPtr<T> m_source;
    Encode m_encode;
};

template <class T, class Encode>
std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<T> source, Encode encode) {
    return std::make_unique<Encoded<T, Encode>>(std::move(source), encode);
}

std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<String> names) {
    return encoded(std::move(names), [](const String& name) { return name; });
}
std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<CIMClass> classes) {
    return encoded(std::move(classes), [](const CIMClass& cls) { return Codec::encodeView(cls); });
}
std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<CIMInstance> instances) {
    return encoded(std::move(instances),
                   [](const CIMInstance& instance) { return Codec::encodeView(instance); });
}
std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<CIMObjectPath> paths) {
    return encoded(std::move(paths), [](const CIMObjectPath& path) { return Codec::encode(path); });
}
std::unique_ptr<EncodedEnumeration> encoded(EnumerationPtr<CIMQualifierType> types) {
    return encoded(std::move(types),
                   [](const CIMQualifierType& type) { return Codec::encode(type); });
}

}  // namespace

Operations::Results Operations::enumClasses(const Arguments& a) {
    return encoded(m_handle.openClasses(a.ns, a.name, a.deep, a.wanted));
}

Operations::Results Operations::enumClassNames(const Arguments& a) {
    return encoded(m_handle.openClassNames(a.ns, a.name, a.deep));
}

Operations::Results Operations::enumInstances(const Arguments& a) {
    if (NamespaceInstances::serves(a.ns, a.name)) {
        return encoded(m_namespaces.openInstances(a.wanted));
    }
    return encoded(m_handle.openInstances(a.ns, a.name, a.deep, a.wanted));
}

Operations::Results Operations::enumInstanceNames(const Arguments& a) {
    return encoded(NamespaceInstances::serves(a.ns, a.name)
                       ? m_namespaces.openInstanceNames()
                       : m_handle.openInstanceNames(a.ns, a.name));
}

Operations::Results Operations::enumQualifierTypes(const Arguments& a) {
    return encoded(m_handle.openQualifierTypes(a.ns));
}

/// The source object of the association. It may be in another namespace than the request's.
CIMObjectPath Operations::source(const Arguments& a) {
    CIMObjectPath path = a.path();
    if (!path.getNameSpace().empty()) {
        require(*m_user, path.getNameSpace(), Right::READ_INSTANCES);
    }
    return path;
}

Operations::Results Operations::associators(const Arguments& a) {
    return encoded(m_handle.openAssociators(a.ns, source(a), a.filter, a.wanted));
}

Operations::Results Operations::associatorNames(const Arguments& a) {
    return encoded(m_handle.openAssociatorNames(a.ns, source(a), a.filter));
}

Operations::Results Operations::references(const Arguments& a) {
    return encoded(m_handle.openReferences(a.ns, source(a), a.filter, a.wanted));
}

Operations::Results Operations::referenceNames(const Arguments& a) {
    return encoded(m_handle.openReferenceNames(a.ns, source(a), a.filter));
}

Operations::Results Operations::associatorsClasses(const Arguments& a) {
    return encoded(m_handle.openAssociatorsClasses(a.ns, a.path(), a.filter, a.wanted));
}

Operations::Results Operations::referencesClasses(const Arguments& a) {
    return encoded(m_handle.openReferencesClasses(a.ns, a.path(), a.filter, a.wanted));
}

}  // namespace OwCimomd
