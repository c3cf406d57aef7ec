// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNHandles.hpp"

#include "fennik/cimom/FNDaemonControl.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KOVNS2 {

namespace {

class ClientHandleWrapper : public CIMOMHandleWrapperIFC {
public:
    // No time limit: a registration may take as long as the daemon needs.
    ClientHandleWrapper() {
        const auto handle = OpenWBEM::ClientCIMOMHandle::createFromURL(
            OpenWBEM::ClientCIMOMHandle::LOCAL_URL, OpenWBEM::ClientAuthCBIFCRef(),
            OpenWBEM::SSLClientCtxRef());
        handle->getWBEMProtocolHandler()->setTimeout(blocxx::Timeout::infinite);
        m_handle = handle;
    }

    OpenWBEM::CIMOMHandleIFCRef GetHandle() override { return m_handle; }
    /// The daemon has committed each call already.
    void Close() override {}

private:
    OpenWBEM::CIMOMHandleIFCRef m_handle;
};

class AssociatorsRepositoryHandleWrapper : public CIMOMHandleWrapperIFC {
public:
    explicit AssociatorsRepositoryHandleWrapper(const String& prefix)
        : m_opened(new ServiceEnv_Associators(prefix)) {}

    OpenWBEM::CIMOMHandleIFCRef GetHandle() override { return m_opened.handle(); }
    void Close() override { m_opened.repository().close(); }

private:
    OpenWBEM::OpenRepository m_opened;
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
