// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderRepair.hpp"

#include <cerrno>

#include "blocxx/Format.hpp"
#include "fennik/common/TextUtils.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2 {

using blocxx::FileSystemException;
using blocxx::Format;
using OpenWBEM::CIMException;

namespace {

[[noreturn]] void throwWith(const CIMException& failure, const String& repair) {
    throw CIMException(failure.getFile(), failure.getLine(), failure.getErrNo(),
                       String(failure.getMessage()) + "\n" + repair, failure.getOtherException());
}

}  // namespace

ProviderRepair::ProviderRepair(String productName, String instanceID, String destDir)
    : m_productName(std::move(productName)),
      m_instanceID(std::move(instanceID)),
      m_destDir(std::move(destDir)) {}

String ProviderRepair::command(const char* tool, const String& arguments) const {
    const String prefix = m_destDir.empty() ? String() : "--dest-dir " + shellWord(m_destDir) + " ";
    return String(tool) + " " + prefix + arguments;
}

String ProviderRepair::fennik(const String& arguments) const {
    const char* const option = "--kov-build-system-dest-dir ";
    const String prefix = m_destDir.empty() ? String() : option + shellWord(m_destDir) + " ";
    return "fennik " + prefix + arguments + " --name " + shellWord(m_productName);
}

String ProviderRepair::who() const {
    return Format("The provider \"%1\" of the product \"%2\"", m_instanceID, m_productName);
}

String ProviderRepair::then() const {
    return Format("Then register the providers of the product again, or remove them:\n    %1\n",
                  fennik("--register-providers LIST"));
}

void ProviderRepair::throwMissingInstance(const CIMException& failure, const String& ns,
                                          const OpenWBEM::CIMInstance& substitute) const {
    if (failure.getErrNo() == CIMException::INVALID_NAMESPACE) {
        throwMissingNamespace(failure, ns);
    }
    if (failure.getErrNo() != CIMException::NOT_FOUND) {
        throw CIMException(failure);
    }
    throwWith(failure,
              Format("%1 needs that instance of the namespace \"%2\", which is gone. Write this "
                     "into FILE and compile it:\n%3    %4 FILE\n%5",
                     who(), ns, OpenWBEM::MOF::toMOF(substitute),
                     command("owmofc", "-n " + shellWord(ns)), then()));
}

void ProviderRepair::throwMissingSchema(const CIMException& failure, const String& ns,
                                        const char* kind, const String& name) const {
    if (failure.getErrNo() == CIMException::INVALID_NAMESPACE) {
        throwMissingNamespace(failure, ns);
    }
    if (failure.getErrNo() != CIMException::NOT_FOUND) {
        throw CIMException(failure);
    }
    throwWith(failure, Format("%1 needs the %2 \"%3\" of the namespace \"%4\", which is gone. "
                              "Compile the provider MOF that it was registered with, which makes "
                              "what is missing:\n    %5\n%6",
                              who(), kind, name, ns, command("owmofc", "FILE"), then()));
}

void ProviderRepair::throwMissingNamespace(const CIMException& failure, const String& ns) const {
    throwWith(failure, Format("%1 needs the namespace \"%2\", which is gone. Register it again for "
                              "its users, and compile the provider MOF that the provider was "
                              "registered with:\n    %3 --username USER\n    %4\n%5",
                              who(), ns, fennik("--register-namespace " + shellWord(ns)),
                              command("owmofc", "FILE"), then()));
}

void ProviderRepair::throwMissingFile(const FileSystemException& failure,
                                      const String& path) const {
    if (failure.getErrorCode() != ENOENT) {
        throw FileSystemException(failure);
    }
    const String message =
        Format("%1\n%2 needs this file. Put one in its place:\n    echo '# lost' > %3\n%4",
               failure.getMessage(), who(), shellWord(path), then());
    throw FileSystemException(failure.getFile(), failure.getLine(), message.c_str(),
                              failure.getErrorCode(), failure.getOtherException());
}

void ProviderRepair::throwClassInUse(const CIMException& failure, OpenWBEM::CIMOMHandleIFC& handle,
                                     const String& ns, const String& className) const {
    if (failure.getErrNo() == CIMException::CLASS_HAS_CHILDREN) {
        const String children = untokenize(handle.enumClassNamesA(ns, className), ", ");
        throwWith(failure,
                  Format("%1 has brought the class \"%2\" of the namespace \"%3\", and what is "
                         "derived from it has to go first: %4. Remove the provider that brought "
                         "it; or delete its instances, declare it in FILE without that superclass "
                         "and compile it:\n    %5 OBJECTPATH...\n    %6 FILE\n%7",
                         who(), className, ns, children,
                         command("owdeleteinstance", "-n " + shellWord(ns)),
                         command("owmofc", "-n " + shellWord(ns)), then()));
    }
    if (failure.getErrNo() == CIMException::CLASS_HAS_INSTANCES) {
        throwWith(failure, Format("%1 has brought the class \"%2\" of the namespace \"%3\", and "
                                  "what needs it has to go first. Delete it:\n    %4 OBJECTPATH\n"
                                  "%5",
                                  who(), className, ns,
                                  command("owdeleteinstance", "-n " + shellWord(ns)), then()));
    }
    throw CIMException(failure);
}

void ProviderRepair::throwQualifierTypeInUse(const CIMException& failure, const String& ns,
                                             const String& name) const {
    if (failure.getErrNo() != CIMException::FAILED) {
        throw CIMException(failure);
    }
    throwWith(failure, Format("%1 has brought the qualifier type \"%2\" of the namespace \"%3\", "
                              "and nothing else may use it. Remove the provider that brought what "
                              "uses it; or declare that in FILE without it and compile it:\n    %4 "
                              "FILE\n%5",
                              who(), name, ns, command("owmofc", "-n " + shellWord(ns)), then()));
}

}  // namespace KOVNS2
