// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNHandles.hpp"

#include "fennik/cimom/FNDaemonControl.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KOVNS2 {

namespace {

/// For each answer: a daemon that was replaced by a hostile one must not hold the run for ever. A
/// registration consists of many small calls, so as a whole it may take as long as the daemon
/// needs. A call may have to wait for the long ones of other clients.
constexpr auto ANSWER_LIMIT = blocxx::Timeout::relative(std::chrono::seconds(60));

class ClientHandleWrapper : public CIMOMHandleWrapperIFC {
public:
    ClientHandleWrapper() {
        const auto handle = OpenWBEM::ClientCIMOMHandle::createFromURL(
            OpenWBEM::ClientCIMOMHandle::LOCAL_URL, OpenWBEM::ClientAuthCBIFCRef(),
            OpenWBEM::SSLClientCtxRef());
        handle->getWBEMProtocolHandler()->setTimeout(ANSWER_LIMIT);
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
