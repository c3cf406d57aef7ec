// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceUtils.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "fennik/namespace/RepositoryNSUtils.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;
using OpenWBEM::CIMException;

namespace {

void requireHandle(const RepositoryNSUtils::HandleRef& handle) {
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

NamespaceUtilsRef GetNSUtils(const OpenWBEM::CIMOMHandleIFCRef& handle) {
    if (auto repositoryHandle = handle.castTo<OpenWBEM::RepositoryCIMOMHandle>()) {
        return new RepositoryNSUtils(repositoryHandle);
    }
    BLOCXX_THROW(NamespaceUtilsException,
                 "Unable to cast CIMOM Handle to a type usable by NamespaceUtils.");
}

}  // namespace KOVNS2
