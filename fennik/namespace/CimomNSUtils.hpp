// SPDX-License-Identifier: Apache-2.0
//
// The namespaces of the running daemon. Deleting one does nothing and succeeds: the daemon has no
// such operation, and callers rely on what they undo staying harmless.
#pragma once

#include "fennik/namespace/NamespaceUtils.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"

namespace KOVNS2 {

class CimomNSUtils : public NamespaceUtils {
public:
    using HandleRef = OpenWBEM::ClientCIMOMHandleRef;

    /// Without a handle every operation but DeleteNamespace is refused.
    CimomNSUtils() = default;
    explicit CimomNSUtils(HandleRef handle);
    void CreateNamespace(const blocxx::String& ns) override;
    void DeleteNamespace(const blocxx::String& ns) override;
    bool NamespaceExists(const blocxx::String& ns) override;

private:
    HandleRef m_handle;
};

}  // namespace KOVNS2
