// SPDX-License-Identifier: Apache-2.0
//
// Runs the tests of operations through a connection to a running daemon.
#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {

namespace {

class LiveSubject : public Subject {
public:
    LiveSubject() : m_handle(m_daemon.connect()) {}
    CIMOMHandleIFC& handle() override { return *m_handle; }
    void createNameSpace(const String& ns) override {
        CIMNameSpaceUtils::createCIM_Namespace(*m_handle, ns, 0, "", "root");
    }
    /// The namespaces without those that every daemon has.
    StringArray nameSpaces() override {
        StringArray found = CIMNameSpaceUtils::enumCIM_Namespace(*m_handle, "root");
        std::erase(found, "root");
        std::erase(found, "root/security");
        return found;
    }
    /// The daemon has no such operation.
    bool deleteNameSpace(const String&) override { return false; }

private:
    LiveDaemon m_daemon;
    ClientCIMOMHandleRef m_handle;
};

}  // namespace

std::unique_ptr<Subject> makeSubject() {
    return std::make_unique<LiveSubject>();
}

}  // namespace KovTest
