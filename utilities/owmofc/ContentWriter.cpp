// SPDX-License-Identifier: Apache-2.0
#include "utilities/owmofc/ContentWriter.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "utilities/common/Attempt.hpp"

namespace OwMofc {

using blocxx::Format;

namespace {

/// The words for an operation on an object.
String on(const char* what, const String& name, const String& ns) {
    return Format("%1 \"%2\" in the namespace \"%3\"", what, name, ns);
}

/// Runs `create`; false when the object exists already.
template <class Create>
[[nodiscard]] bool created(Create create) {
    try {
        create();
        return true;
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::ALREADY_EXISTS) {
            throw;
        }
        return false;
    }
}

bool isEmpty(const MOF::NamespaceContent& content) {
    return content.qualifierTypes.empty() && content.classes.empty() && content.instances.empty();
}

/// Runs `action`; its failure tells what was attempted with the object that is named `at`.
template <class What, class Action>
void attemptAt(const MOF::ContentPlaces& places, const char* at, What what, Action action) {
    try {
        action();
    } catch (const CIMException& e) {
        throw places.failure(at, describeAttempt(what(), e), e.getErrNo());
    }
}

}  // namespace

void ContentWriter::requireNameSpace(const MOF::NamespaceContent& content) const {
    const String& ns = content.nameSpace;
    if (isEmpty(content) || m_repository.hasNameSpace(ns)) {
        return;
    }
    const String message = Format("the namespace \"%1\" does not exist", ns);
    if (content.places.nameSpace == nullptr) {
        OPENWBEM_THROW_CIM(INVALID_NAMESPACE, message);
    }
    throw content.places.failure(content.places.nameSpace, message,
                                 CIMException::INVALID_NAMESPACE);
}

void ContentWriter::write(const MOF::NamespaceContent& content) {
    if (isEmpty(content)) {
        return;
    }
    requireNameSpace(content);
    const String& ns = content.nameSpace;
    const MOF::ContentPlaces& places = content.places;
    for (size_t i = 0; i < content.qualifierTypes.size(); ++i) {
        const CIMQualifierType& qualifierType = content.qualifierTypes[i];
        attemptAt(
            places, places.qualifierTypes[i],
            [&] { return on("set the qualifier type", qualifierType.getName(), ns); },
            [&] { writeQualifierType(ns, qualifierType); });
    }
    for (size_t i = 0; i < content.classes.size(); ++i) {
        const CIMClass& cls = content.classes[i];
        attemptAt(
            places, places.classes[i], [&] { return on("write the class", cls.getName(), ns); },
            [&] { writeClass(ns, cls); });
    }
    for (size_t i = 0; i < content.instances.size(); ++i) {
        const CIMInstance& instance = content.instances[i];
        attemptAt(
            places, places.instances[i],
            [&] {
                return on("write the instance", CIMObjectPath(String(), instance).toString(), ns);
            },
            [&] { writeInstance(ns, instance); });
    }
    Counts& counts = m_counts[ns];
    counts.qualifierTypes += content.qualifierTypes.size();
    counts.classes += content.classes.size();
    counts.instances += content.instances.size();
}

void ContentWriter::writeQualifierType(const String& ns, const CIMQualifierType& qualifierType) {
    try {
        if (m_repository.handle()->getQualifierType(ns, qualifierType.getName()) == qualifierType) {
            return;
        }
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
    }
    m_repository.handle()->setQualifierType(ns, qualifierType);
}

void ContentWriter::writeClass(const String& ns, const CIMClass& cls) {
    CIMOMHandleIFC& handle = *m_repository.handle();
    if (created([&] { handle.createClass(ns, cls); })) {
        return;
    }
    const CIMClass existing = handle.getClass(ns, cls.getName(), E_NOT_LOCAL_ONLY,
                                              E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN);
    if (!(existing == cls)) {
        handle.modifyClass(ns, cls);
    }
}

void ContentWriter::writeInstance(const String& ns, const CIMInstance& instance) {
    CIMOMHandleIFC& handle = *m_repository.handle();
    if (created([&] { handle.createInstance(ns, instance); })) {
        return;
    }
    // What the text does not say gets its default again, as in a new instance.
    const CIMClass cls = handle.getClass(ns, instance.getClassName(), E_NOT_LOCAL_ONLY,
                                         E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN);
    handle.modifyInstance(ns, completeInstance(instance, cls));
}

String ContentWriter::summary() const {
    String text;
    for (const auto& [ns, counts] : m_counts) {
        text += Format("%1: %2 qualifier types, %3 classes, %4 instances\n", ns,
                       counts.qualifierTypes, counts.classes, counts.instances);
    }
    return text;
}

}  // namespace OwMofc
