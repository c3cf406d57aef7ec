// SPDX-License-Identifier: Apache-2.0
//
// Operations on CIM namespaces through either kind of handle, and the undo steps for them.
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
    /// A missing namespace is logged; any other failure throws NamespaceUtilsException.
    virtual void DeleteNamespace(const String& ns) = 0;
    /// Whether the namespace exists. The name is compared case-sensitively.
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
/// such operation, and undo steps must not fail because of that.
class CimomNSUtils : public NamespaceUtils {
public:
    using HandleRef = OpenWBEM::ClientCIMOMHandleRef;

    /// With a null handle every operation except DeleteNamespace throws NamespaceUtilsException.
    explicit CimomNSUtils(HandleRef handle = {});
    void CreateNamespace(const String& ns) override;
    void DeleteNamespace(const String& ns) override;
    bool NamespaceExists(const String& ns) override;

private:
    HandleRef m_handle;
};

/// The namespace operations for the kind of `handle`. Throws NamespaceUtilsException for a null
/// handle and for any other kind.
NamespaceUtilsRef GetNSUtils(const OpenWBEM::CIMOMHandleIFCRef& handle);

// Undo steps. A step that fails logs what to do by hand; it does not throw.
void deleteNamespace(const NamespaceUtilsRef& namespaces, const String& ns);
void createNamespace(const NamespaceUtilsRef& namespaces, const String& ns);

}  // namespace KOVNS2
