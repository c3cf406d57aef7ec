// SPDX-License-Identifier: Apache-2.0
//
// Handles on a repository opened directly, and the check that a product is registered.
#include "fennik/cimom/FNUtils.hpp"

#include <gtest/gtest.h>

#include <chrono>

#include "fennik/cimom/FNDaemonControl.hpp"
#include "fennik/cimom/FNHandles.hpp"
#include "fennik/cimom/RepositoryEnvironment.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {
namespace {

TEST(RepositoryEnvironment, NamesTheRepositoryDirectoryBelowThePrefix) {
    const ServiceEnv_Associators environment("/stage");
    EXPECT_EQ(environment.getConfigItem(ConfigOpts::DATADIR_opt, "default"),
              "/stage/var/opt/tarvo/kov/openwbem/repository");
    const ServiceEnv_Associators live("");
    EXPECT_EQ(live.getConfigItem(ConfigOpts::DATADIR_opt, "default"),
              "/var/opt/tarvo/kov/openwbem/repository");
}

TEST(RepositoryEnvironment, OtherItemsHaveTheCallersDefault) {
    const ServiceEnv_Associators environment("/stage");
    EXPECT_EQ(environment.getConfigItem("owcimomd.debugflag", "default"), "default");
    EXPECT_EQ(environment.getConfigItem("", ""), "");
}

TEST(RepositoryHandle, GivesTheSameHandleEachTime) {
    const StagedTree tree;
    const CIMOMHandleWrapperRef wrapper = GetRepositoryHandle(tree.prefix());
    EXPECT_EQ(wrapper->GetHandle(), wrapper->GetHandle());
    EXPECT_TRUE(listRegisteredProducts(wrapper->GetHandle()).empty());
}

CIMInstance product(CIMOMHandleIFC& handle) {
    CIMInstance instance = handle.getClass("kov", "KOV_Product").newInstance();
    instance.setProperty("Name", CIMValue("sample"));
    return instance;
}

TEST(RepositoryHandle, ClosingCommits) {
    const StagedTree tree;
    CIMOMHandleWrapperRef wrapper = GetRepositoryHandle(tree.prefix());
    wrapper->GetHandle()->createInstance("kov", product(*wrapper->GetHandle()));
    wrapper->Close();
    wrapper = GetRepositoryHandle(tree.prefix());
    EXPECT_EQ(listRegisteredProducts(wrapper->GetHandle()), StringArray{"sample"});
}

TEST(RepositoryHandle, GoingWithoutBeingClosedRollsBack) {
    const StagedTree tree;
    const auto before = tree.files();
    {
        const CIMOMHandleWrapperRef wrapper = GetRepositoryHandle(tree.prefix());
        wrapper->GetHandle()->createInstance("kov", product(*wrapper->GetHandle()));
    }
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryHandle, MissingRepositoryIsAnError) {
    EXPECT_THROW(GetRepositoryHandle("/nonexistent"), CIMException);
}

TEST(ClientHandle, ConnectsOnlyWithItsFirstCall) {
    const CIMOMHandleWrapperRef wrapper = GetClientHandle();
    const auto client = wrapper->GetHandle().castTo<OpenWBEM::ClientCIMOMHandle>();
    ASSERT_TRUE(client);
    EXPECT_EQ(client->getWBEMProtocolHandler()->getTimeout().time(), std::chrono::seconds(60));
    EXPECT_EQ(wrapper->GetHandle(), wrapper->GetHandle());
}

class ProductCheck : public ::testing::Test {
protected:
    template <class Check>
    void expectFailure(int code, const String& message, int causeCode, Check check) {
        try {
            check();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_EQ(e.getMessage(), message);
            ASSERT_NE(e.getOtherException(), nullptr);
            EXPECT_EQ(e.getOtherException()->getErrorCode(), causeCode);
        }
    }

    StagedTree m_tree;
    OpenRepository m_repository{m_tree};
};

TEST_F(ProductCheck, GivesThePathOfARegisteredProduct) {
    const CIMObjectPath created =
        m_repository.handle()->createInstance("kov", product(*m_repository.handle()));
    EXPECT_EQ(CheckProductRegistration(m_repository.handle(), "sample"), created);
}

TEST_F(ProductCheck, MissingProductIsCodeThree) {
    expectFailure(3, "The product has not been registered.", CIMException::NOT_FOUND,
                  [&] { CheckProductRegistration(m_repository.handle(), "sample"); });
}

TEST_F(ProductCheck, OtherFailuresAreCode127) {
    m_repository.faults().failOperation("getInstance");
    expectFailure(127, "Error while checking product registration", CIMException::FAILED,
                  [&] { CheckProductRegistration(m_repository.handle(), "sample"); });
}

TEST(DaemonControl, BuildSystemNeverTouchesTheDaemon) {
    CapturedLog log;
    bool startFailed = true;
    restartCimomIfRunning(true);
    { const StopAndStartCimom guard(true, startFailed); }
    EXPECT_FALSE(startFailed);
    EXPECT_TRUE(log.debugLines().empty()) << "a script was run";
}

}  // namespace
}  // namespace KOVNS2::Testing
