// SPDX-License-Identifier: Apache-2.0
//
// The tool's namespace operations through the daemon, which deletes no namespaces.
#include <gmock/gmock.h>

#include <csignal>

#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using T = CIMDataType;

/// The text of the NamespaceUtilsException that `action` throws, or "nothing".
template <class Action>
String failureOf(Action action) {
    try {
        action();
        return "nothing";
    } catch (const KOVNS2::NamespaceUtilsException& e) {
        EXPECT_EQ(-1, e.getErrorCode());
        return e.getMessage();
    }
}

class ClientNamespaces : public ::testing::Test {
protected:
    ClientNamespaces() : handle(daemon.connect()), namespaces(KOVNS2::GetNSUtils(handle)) {}

    LiveDaemon daemon;
    CIMOMHandleIFCRef handle;
    KOVNS2::NamespaceUtilsRef namespaces;
};

TEST_F(ClientNamespaces, AreCreatedAndFoundByTheirExactNames) {
    EXPECT_FALSE(namespaces->NamespaceExists("new/ns"));
    namespaces->CreateNamespace("new/ns");
    EXPECT_TRUE(namespaces->NamespaceExists("new/ns"));
    EXPECT_FALSE(namespaces->NamespaceExists("NEW/ns"));
    EXPECT_THAT(failureOf([&] { namespaces->CreateNamespace("New/NS"); }),
                HasSubstr("Unable to create the Namespace: "));
}

TEST_F(ClientNamespaces, AreNotDeletedAndThatIsNoFailure) {
    namespaces->CreateNamespace("new");
    namespaces->DeleteNamespace("new");
    namespaces->DeleteNamespace("none");
    EXPECT_TRUE(namespaces->NamespaceExists("new"));
}

TEST_F(ClientNamespaces, NeedAHandleAndADaemon) {
    KOVNS2::CimomNSUtils none{KOVNS2::CimomNSUtils::HandleRef()};
    EXPECT_EQ("CIMOM Handle was null.", failureOf([&] { none.CreateNamespace("x"); }));
    none.DeleteNamespace("x");
    daemon.end(SIGTERM);
    EXPECT_THAT(failureOf([&] { namespaces->CreateNamespace("x"); }),
                HasSubstr("Unable to create the Namespace: "));
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { namespaces->NamespaceExists("x"); }));
}

/// A daemon with the product "sample" and the classes for registrations.
class ClientRegistration : public ClientNamespaces {
protected:
    ClientRegistration() {
        namespaces->CreateNamespace("kov");
        addSchema(*handle, "kov");
        const auto named = [&](const char* name) {
            handle->createClass("kov", makeClass(name, "", {property("Name", T::STRING, true)}));
        };
        named("KOV_Product");
        named("KOV_ReservedNamespace");
        handle->createClass(
            "kov",
            makeClass("KOV_ProductReservedNamespace", "",
                      {property("Product", T::reference("KOV_Product"), true),
                       property("ReservedNamespace", T::reference("KOV_ReservedNamespace"), true)},
                      {flag("Association")}));
        CIMInstance product("KOV_Product");
        product.setProperty("Name", CIMValue("sample"));
        handle->createInstance("kov", product);
        const String share = daemon.prefix() + "/opt/tarvo/kov/share/openwbem";
        std::filesystem::create_directories(share);
        writeFile(share + "/qualifiers.mof",
                  "Qualifier Description : string = null, Scope(any);\n");
    }
    void registerWith(const StringArray& users) {
        KOVNS2::registerNamespaces(handle, "sample", users, {"reader"}, {"sample/a"},
                                   daemon.prefix(), undo);
    }
    /// The number of instances that registering namespaces has created.
    size_t traces() {
        return handle->enumInstanceNamesA("root/security", "OpenWBEM_UserACL").size() +
               handle->enumInstanceNamesA("kov", "KOV_ReservedNamespace").size() +
               handle->enumInstanceNamesA("kov", "KOV_ProductReservedNamespace").size();
    }

    KOVNS2::CleanupActions_t undo;
};

TEST_F(ClientRegistration, MakesWhatDeregisteringRemovesButTheNamespace) {
    registerWith({"writer"});
    EXPECT_EQ(5u, traces());
    EXPECT_EQ("Description", handle->getQualifierType("sample/a", "description").getName());
    EXPECT_THAT(KOVNS2::listNamespaces(handle, "sample"), ElementsAre("sample/a"));
    StringArray users;
    KOVNS2::loadNamespaceUsers(handle, "sample/a", users);
    EXPECT_THAT(users, ElementsAre("writer", "reader", "root"));

    KOVNS2::deregisterNamespaces(handle, "sample", {"sample/a"});
    EXPECT_EQ(0u, traces());
    EXPECT_TRUE(namespaces->NamespaceExists("sample/a"));
    EXPECT_EQ("Description", handle->getQualifierType("sample/a", "description").getName());
}

TEST_F(ClientRegistration, ThatNamesAUserTwiceChangesNothing) {
    EXPECT_EQ(CIMException::ALREADY_EXISTS, statusOf([&] { registerWith({"twice", "twice"}); }));
    EXPECT_EQ(0u, undo.size());
    EXPECT_EQ(0u, traces());
    EXPECT_FALSE(namespaces->NamespaceExists("sample/a"));
}

TEST_F(ClientRegistration, ThatFailsHalfWayLeavesOnlyTheEmptyNamespace) {
    std::filesystem::remove_all(daemon.prefix() + "/opt");
    EXPECT_THROW(registerWith({"writer"}), blocxx::Exception);
    KOVNS2::executeCleanupActions(undo);
    EXPECT_EQ(0u, traces());
    EXPECT_TRUE(namespaces->NamespaceExists("sample/a"));
    EXPECT_EQ(0u, handle->enumClassNamesA("sample/a", "").size());
}

TEST_F(ClientRegistration, ThatFailsAfterTheQualifiersTakesThemBack) {
    const auto enumTypes = [&] { return handle->enumQualifierTypesA("sample/a").size(); };
    CIMClass association = handle->getClass("kov", "KOV_ProductReservedNamespace");
    handle->modifyClass("kov", association.setQualifiers({flag("Association"), flag("Abstract")}));
    EXPECT_EQ(CIMException::INVALID_PARAMETER, statusOf([&] { registerWith({"writer"}); }));
    EXPECT_EQ(1u, enumTypes()) << "it fails after them";
    KOVNS2::executeCleanupActions(undo);
    EXPECT_EQ(0u, enumTypes());
    EXPECT_EQ(0u, traces());
}

}  // namespace
}  // namespace KovTest
