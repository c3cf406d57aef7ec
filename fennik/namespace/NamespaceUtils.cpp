// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceUtils.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMNameSpaceUtils.hpp"

namespace KOVNS2 {

using blocxx::Format;
using OpenWBEM::CIMException;

namespace {

// A new namespace is created without information about its classes.
constexpr uint16_t CLASS_INFO_UNKNOWN = 0;

template <class HandleRef>
void requireHandle(const HandleRef& handle) {
    if (!handle) {
        BLOCXX_THROW(NamespaceUtilsException, "CIMOM Handle was null.");
    }
}

}  // namespace

RepositoryNSUtils::RepositoryNSUtils(HandleRef handle) : m_handle(std::move(handle)) {}

void RepositoryNSUtils::CreateNamespace(const String& ns) {
    requireHandle(m_handle);
    try {
        m_handle->createNameSpace(ns);
    } catch (const CIMException& e) {
        BLOCXX_THROW(NamespaceUtilsException, Format("Unable to create the Namespace: %1", e));
    }
}

void RepositoryNSUtils::DeleteNamespace(const String& ns) {
    requireHandle(m_handle);
    try {
        m_handle->deleteNameSpace(ns);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            BLOCXX_THROW(NamespaceUtilsException, Format("Unable to delete the Namespace: %1", e));
        }
        BLOCXX_LOG_ERROR(blocxx::Logger("fennik"),
                         Format("Error ignored: The namespace %1 could not be deleted because it "
                                "doesn't exist.",
                                ns));
    }
}

bool RepositoryNSUtils::NamespaceExists(const String& ns) {
    blocxx::StringArray names;
    OpenWBEM::ArrayBuilder<String> collect(names);
    m_handle->enumNameSpace(collect);
    return std::count(names.begin(), names.end(), ns) > 0;
}

CimomNSUtils::CimomNSUtils(HandleRef handle) : m_handle(std::move(handle)) {}

void CimomNSUtils::CreateNamespace(const String& ns) {
    requireHandle(m_handle);
    try {
        OpenWBEM::CIMNameSpaceUtils::createCIM_Namespace(*m_handle, ns, CLASS_INFO_UNKNOWN,
                                                         String(), Layout::INTEROP_NS);
    } catch (const CIMException& e) {
        BLOCXX_THROW(NamespaceUtilsException, Format("Unable to create the Namespace: %1", e));
    }
}

void CimomNSUtils::DeleteNamespace(const String& /*ns*/) {}

bool CimomNSUtils::NamespaceExists(const String& ns) {
    requireHandle(m_handle);
    const blocxx::StringArray names =
        OpenWBEM::CIMNameSpaceUtils::enumCIM_Namespace(*m_handle, Layout::INTEROP_NS);
    return std::count(names.begin(), names.end(), ns) > 0;
}

NamespaceUtilsRef GetNSUtils(const OpenWBEM::CIMOMHandleIFCRef& handle) {
    if (auto clientHandle = handle.castTo<OpenWBEM::ClientCIMOMHandle>()) {
        return new CimomNSUtils(clientHandle);
    }
    if (auto repositoryHandle = handle.castTo<OpenWBEM::RepositoryCIMOMHandle>()) {
        return new RepositoryNSUtils(repositoryHandle);
    }
    BLOCXX_THROW(NamespaceUtilsException,
                 "Unable to cast CIMOM Handle to a type usable by NamespaceUtils.");
}

void deleteNamespace(const NamespaceUtilsRef& namespaces, const String& ns) {
    runUndoStep([&] { namespaces->DeleteNamespace(ns); },
                [&] { return "The attempt to delete the namespace: " + ns; },
                "delete the namespace. The owdeletenamespace utility can be used.");
}

void createNamespace(const NamespaceUtilsRef& namespaces, const String& ns) {
    runUndoStep([&] { namespaces->CreateNamespace(ns); },
                [&] { return "The attempt to create the namespace: " + ns; },
                "create the namespace. The owmofc utility can be used.");
}

}  // namespace KOVNS2
