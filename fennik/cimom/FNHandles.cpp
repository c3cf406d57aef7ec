// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNHandles.hpp"

#include "fennik/cimom/FNDaemonControl.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace KOVNS2 {

namespace {

class ClientHandleWrapper : public CIMOMHandleWrapperIFC {
public:
    // A registration may take as long as the daemon needs, so there is no time limit.
    ClientHandleWrapper() {
        const auto handle = OpenWBEM::ClientCIMOMHandle::createFromURL(
            OpenWBEM::ClientCIMOMHandle::LOCAL_URL, OpenWBEM::ClientAuthCBIFCRef(),
            OpenWBEM::SSLClientCtxRef());
        handle->getWBEMProtocolHandler()->setTimeout(blocxx::Timeout::infinite);
        m_handle = handle;
    }

    OpenWBEM::CIMOMHandleIFCRef GetHandle() override { return m_handle; }
    /// Every call was committed when it returned.
    void Close() override {}

private:
    OpenWBEM::CIMOMHandleIFCRef m_handle;
};

using EnvironmentRef = blocxx::IntrusiveReference<ServiceEnv_Associators>;

class AssociatorsRepositoryHandleWrapper : public CIMOMHandleWrapperIFC {
public:
    explicit AssociatorsRepositoryHandleWrapper(const String& prefix)
        : m_environment(new ServiceEnv_Associators(prefix)),
          m_repository(new OpenWBEM::CIMRepository) {
        m_repository->init(m_environment);
        m_handle = new OpenWBEM::RepositoryCIMOMHandle(m_repository, m_context);
        m_environment->setHandle(m_handle);
    }
    AssociatorsRepositoryHandleWrapper(const AssociatorsRepositoryHandleWrapper&) = delete;
    AssociatorsRepositoryHandleWrapper& operator=(const AssociatorsRepositoryHandleWrapper&) =
        delete;

    ~AssociatorsRepositoryHandleWrapper() override {
        m_environment->setHandle(OpenWBEM::CIMOMHandleIFCRef());
    }

    OpenWBEM::CIMOMHandleIFCRef GetHandle() override { return m_handle; }
    void Close() override { m_repository->close(); }

private:
    OpenWBEM::CIMOMHandleIFCRef m_handle;
    OpenWBEM::LocalOperationContext m_context;
    EnvironmentRef m_environment;
    OpenWBEM::CIMRepositoryRef m_repository;
};

}  // namespace

CIMOMHandleWrapperRef GetClientHandle() {
    return new ClientHandleWrapper;
}

CIMOMHandleWrapperRef GetRepositoryHandle(const String& prefix) {
    return new AssociatorsRepositoryHandleWrapper(prefix);
}

CIMOMHandleWrapperRef GetCIMOMHandle() {
    return cimomStatus() == 0 ? GetClientHandle() : GetRepositoryHandle(String());
}

}  // namespace KOVNS2
