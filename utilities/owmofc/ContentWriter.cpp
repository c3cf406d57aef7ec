// SPDX-License-Identifier: Apache-2.0
#include "utilities/owmofc/ContentWriter.hpp"

#include "blocxx/Format.hpp"

namespace OwMofc {

using blocxx::Format;

namespace {

/// What the exception says behind the meaning of its status code.
String reasonOf(const CIMException& e) {
    const String message = e.getMessage();
    const String prefix = String(CIMException::description(e.getErrNo())) + ": ";
    return message.compare(0, prefix.size(), prefix) == 0 ? message.substr(prefix.size()) : message;
}

/// Runs `action`; a failure tells what was attempted and keeps its status code.
template <class Action>
void attempt(const char* what, const String& name, const String& ns, Action action) {
    try {
        action();
    } catch (const CIMException& e) {
        throw CIMException(__FILE__, __LINE__, e.getErrNo(),
                           String(Format("cannot %1 \"%2\" in the namespace \"%3\": %4", what, name,
                                         ns, reasonOf(e))));
    }
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

}  // namespace

void ContentWriter::write(const MOF::NamespaceContent& content) {
    const String& ns = content.nameSpace;
    if (content.qualifierTypes.empty() && content.classes.empty() && content.instances.empty()) {
        return;
    }
    if (!m_repository.hasNameSpace(ns)) {
        OPENWBEM_THROW_CIM(INVALID_NAMESPACE,
                           String(Format("the namespace \"%1\" does not exist", ns)));
    }
    for (const CIMQualifierType& qualifierType : content.qualifierTypes) {
        attempt("set the qualifier type", qualifierType.getName(), ns,
                [&] { writeQualifierType(ns, qualifierType); });
    }
    for (const CIMClass& cls : content.classes) {
        attempt("write the class", cls.getName(), ns, [&] { writeClass(ns, cls); });
    }
    for (const CIMInstance& instance : content.instances) {
        attempt("write the instance", CIMObjectPath(String(), instance).toString(), ns,
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
    if (!created([&] { handle.createInstance(ns, instance); })) {
        handle.modifyInstance(ns, instance);
    }
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
