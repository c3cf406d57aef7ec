// SPDX-License-Identifier: Apache-2.0
//
// Creating, deleting and finding CIM namespaces, whatever kind of handle there is, and the undo
// steps on them.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace KOVNS2 {

/// The error code is always -1.
BLOCXX_DECLARE_EXCEPTION(NamespaceUtils)

class NamespaceUtils : public blocxx::IntrusiveCountableBase {
public:
    /// Throws NamespaceUtilsException.
    virtual void CreateNamespace(const String& ns) = 0;
    /// A namespace that is not there is logged, not an error. Throws NamespaceUtilsException.
    virtual void DeleteNamespace(const String& ns) = 0;
    /// Whether there is a namespace of exactly that name, letter case included.
    virtual bool NamespaceExists(const String& ns) = 0;
};
using NamespaceUtilsRef = blocxx::IntrusiveReference<NamespaceUtils>;

/// The namespaces of a repository opened directly.
class RepositoryNSUtils : public NamespaceUtils {
public:
    using HandleRef = blocxx::IntrusiveReference<OpenWBEM::RepositoryCIMOMHandle>;

    explicit RepositoryNSUtils(HandleRef handle);
    void CreateNamespace(const String& ns) override;
    void DeleteNamespace(const String& ns) override;
    bool NamespaceExists(const String& ns) override;

private:
    HandleRef m_handle;
};

/// The namespaces of the running daemon. Deleting one does nothing and succeeds: the daemon has no
/// such operation, and callers rely on what they undo staying harmless.
class CimomNSUtils : public NamespaceUtils {
public:
    using HandleRef = OpenWBEM::ClientCIMOMHandleRef;

    /// Without a handle every operation but DeleteNamespace is refused.
    explicit CimomNSUtils(HandleRef handle = {});
    void CreateNamespace(const String& ns) override;
    void DeleteNamespace(const String& ns) override;
    bool NamespaceExists(const String& ns) override;

private:
    HandleRef m_handle;
};

/// The namespace operations for that kind of handle. Throws NamespaceUtilsException for a null
/// handle and for a kind that has none.
NamespaceUtilsRef GetNSUtils(const OpenWBEM::CIMOMHandleIFCRef& handle);

// Undo steps. They report their own failure and do not throw for it.
void deleteNamespace(const NamespaceUtilsRef& namespaces, const String& ns);
void createNamespace(const NamespaceUtilsRef& namespaces, const String& ns);

}  // namespace KOVNS2
