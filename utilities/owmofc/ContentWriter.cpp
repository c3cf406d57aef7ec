// SPDX-License-Identifier: Apache-2.0
#include "utilities/owmofc/ContentWriter.hpp"

#include "blocxx/Format.hpp"
#include "utilities/common/Attempt.hpp"

namespace OwMofc {

using blocxx::Format;

namespace {

/// Describes an operation on an object.
String on(const char* what, const String& name, const String& ns) {
    return Format("%1 \"%2\" in the namespace \"%3\"", what, name, ns);
}

bool isEmpty(const MOF::NamespaceContent& content) {
    return content.qualifierTypes.empty() && content.classes.empty() && content.instances.empty();
}

/// The failure to store an object, with the object's place and what was attempted.
MOF::MOFCompilerException failureOf(const MOF::NamespaceContent& content,
                                    const ObjectStoringException& e) {
    const String& ns = content.nameSpace;
    const auto failure = [&](const char* place, const String& attempt) {
        return content.places.failure(place, describeAttempt(attempt, e), e.getErrNo());
    };
    size_t index = e.index();
    if (index < content.qualifierTypes.size()) {
        return failure(content.places.qualifierTypes[index],
                       on("set the qualifier type", content.qualifierTypes[index].getName(), ns));
    }
    index -= content.qualifierTypes.size();
    if (index < content.classes.size()) {
        return failure(content.places.classes[index],
                       on("write the class", content.classes[index].getName(), ns));
    }
    index -= content.classes.size();
    return failure(content.places.instances.at(index),
                   on("write the instance",
                      CIMObjectPath(String(), content.instances.at(index)).toString(), ns));
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
    try {
        m_repository.store(content.nameSpace,
                           {content.qualifierTypes, content.classes, content.instances});
    } catch (const ObjectStoringException& e) {
        throw failureOf(content, e);
    }
    Counts& counts = m_counts[content.nameSpace];
    counts.qualifierTypes += content.qualifierTypes.size();
    counts.classes += content.classes.size();
    counts.instances += content.instances.size();
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
