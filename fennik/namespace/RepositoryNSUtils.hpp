// SPDX-License-Identifier: Apache-2.0
//
// The namespaces of a repository opened directly.
#pragma once

#include "fennik/namespace/NamespaceUtils.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace KOVNS2 {

class RepositoryNSUtils : public NamespaceUtils {
public:
    using HandleRef = blocxx::IntrusiveReference<OpenWBEM::RepositoryCIMOMHandle>;

    explicit RepositoryNSUtils(HandleRef handle);
    void CreateNamespace(const blocxx::String& ns) override;
    void DeleteNamespace(const blocxx::String& ns) override;
    bool NamespaceExists(const blocxx::String& ns) override;

private:
    HandleRef m_handle;
};

}  // namespace KOVNS2
