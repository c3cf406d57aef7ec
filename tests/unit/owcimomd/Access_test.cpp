// SPDX-License-Identifier: Apache-2.0
//
// Who may connect and who may do what, tried by processes of other users. Needs root.
#include <gmock/gmock.h>
#include <pwd.h>
#include <unistd.h>

#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "owcimomd/access/AccessControl.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

/// A user that every Debian system has.
struct Stranger {
    explicit Stranger(const char* n) : name(n), uid(getpwnam(n)->pw_uid) {}
    String name;
    uid_t uid;
};

class Access : public ::testing::Test {
protected:
    Access()
        : m_daemon(LiveDaemon::Start::LATER),
          m_writer("daemon"),
          m_reader("games"),
          m_nobody("nobody") {}

    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can become other users";
        }
        writeFile(m_daemon.config(), "owcimomd.allowed_users = daemon\n");
        writeFile(m_daemon.dropIn("p.allowed_users.conf"), "owcimomd.allowed_users = games mail\n");
        m_daemon.start();
        const auto handle = m_daemon.connect();
        CIMNameSpaceUtils::createCIM_Namespace(*handle, "test", 0, "", "root");
        addSchema(*handle, "test");
        handle->createInstance("test", person("ann"));
        grant(m_writer, "test", "rwRW");
        grant(m_reader, "test", "rR");
    }
    void grant(const Stranger& user, const String& ns, const String& capability) {
        CIMInstance acl("OpenWBEM_UserACL");
        acl.setProperty("nspace", CIMValue(ns));
        acl.setProperty("username", CIMValue(user.name));
        acl.setProperty("capability", CIMValue(capability));
        m_daemon.connect()->createInstance("root/security", acl);
    }
    /// Runs `action` on a new connection as that user. Returns the status.
    template <class Action>
    int statusFor(const Stranger& user, Action action) {
        return asUser(user.uid, [&] {
            const auto handle = m_daemon.connect();
            return statusOf([&] { action(*handle); });
        });
    }

    LiveDaemon m_daemon;
    Stranger m_writer;
    Stranger m_reader;
    Stranger m_nobody;
};

void readInstances(CIMOMHandleIFC& handle) {
    handle.enumInstanceNamesA("test", "Person");
}
void writeInstances(CIMOMHandleIFC& handle) {
    handle.createInstance("test", person("by " + std::to_string(getuid())));
}
void readClasses(CIMOMHandleIFC& handle) {
    handle.getClass("test", "Person");
}
void writeClasses(CIMOMHandleIFC& handle) {
    handle.createClass("test", makeClass("New" + std::to_string(getuid()), "", {}));
}

TEST_F(Access, FollowsTheLettersOfTheRights) {
    for (const auto& action : {readInstances, writeInstances, readClasses, writeClasses}) {
        EXPECT_EQ(0, statusFor(m_writer, action));
        EXPECT_EQ(2, statusFor(m_nobody, action));
    }
    EXPECT_EQ(0, statusFor(m_reader, readInstances));
    EXPECT_EQ(0, statusFor(m_reader, readClasses));
    EXPECT_EQ(2, statusFor(m_reader, writeInstances));
    EXPECT_EQ(2, statusFor(m_reader, writeClasses));
    EXPECT_EQ(2u, m_daemon.connect()->enumInstancesA("test", "Person").size());
}

TEST_F(Access, StoringTakesTheRightsToWhatIsStored) {
    grant(Stranger("mail"), "test", "w");
    const Array<CIMQualifierType> types{qualifierType("Fresh", CIMDataType::STRING, CIMScope::ANY)};
    const Array<CIMClass> classes{makeClass("Fresh", "", {})};
    const Array<CIMInstance> instances{person("fresh")};
    const ObjectsToStore all[] = {{types, {}, {}}, {{}, classes, {}}, {{}, {}, instances}};
    for (const ObjectsToStore& objects : all) {
        const auto store = [&](ClientCIMOMHandle& handle) { handle.store("test", objects); };
        EXPECT_EQ(2, statusFor(m_nobody, store));
        EXPECT_EQ(2, statusFor(m_reader, store));
        EXPECT_EQ(&objects == &all[2] ? 0 : 2, statusFor(Stranger("mail"), store));
        EXPECT_EQ(0, statusFor(m_writer, store));
    }
    EXPECT_EQ(0, statusFor(m_reader, [](CIMOMHandleIFC& handle) { handle.commit(); }));
    EXPECT_EQ(2, statusFor(m_nobody, [](CIMOMHandleIFC& handle) { handle.commit(); }));
}

TEST_F(Access, EveryOperationIsGuarded) {
    const AssociationFilter none;
    auto instances = makeResultHandler<CIMInstance>([](const CIMInstance&) {});
    auto paths = makeResultHandler<CIMObjectPath>([](const CIMObjectPath&) {});
    auto classes = makeResultHandler<CIMClass>([](const CIMClass&) {});
    using Handle = CIMOMHandleIFC;
    const std::function<void(Handle&)> actions[] = {
        [&](Handle& h) { h.enumClass("test", "", classes); },
        [&](Handle& h) { h.enumClassNamesA("test", ""); },
        [&](Handle& h) { h.getClass("test", "Car"); },
        [&](Handle& h) { h.createClass("test", CIMClass("X")); },
        [&](Handle& h) { h.modifyClass("test", CIMClass("Car")); },
        [&](Handle& h) { h.deleteClass("test", "Owns"); },
        [&](Handle& h) { h.enumInstances("test", "Car", instances); },
        [&](Handle& h) { h.enumInstanceNames("test", "Car", paths); },
        [&](Handle& h) { h.getInstance("test", personPath("ann")); },
        [&](Handle& h) { h.createInstance("test", car(1)); },
        [&](Handle& h) { h.modifyInstance("test", person("ann")); },
        [&](Handle& h) { h.deleteInstance("test", personPath("ann")); },
        [&](Handle& h) { h.getQualifierType("test", "Key"); },
        [&](Handle& h) { h.enumQualifierTypesA("test"); },
        [&](Handle& h) { h.setQualifierType("test", CIMQualifierType("X")); },
        [&](Handle& h) { h.deleteQualifierType("test", "Description"); },
        [&](Handle& h) { h.associators("test", personPath("ann"), instances, none); },
        [&](Handle& h) { h.associatorNames("test", personPath("ann"), paths, none); },
        [&](Handle& h) { h.references("test", personPath("ann"), instances, none); },
        [&](Handle& h) { h.referenceNames("test", personPath("ann"), paths, none); },
        [&](Handle& h) { h.associatorsClasses("test", CIMObjectPath("Car"), classes, none); },
        [&](Handle& h) { h.referencesClasses("test", CIMObjectPath("Car"), classes, none); },
    };
    const Stranger allowedWithoutRights("mail");
    int number = 0;
    for (const auto& action : actions) {
        EXPECT_EQ(2, statusFor(m_nobody, action)) << number;
        EXPECT_EQ(2, statusFor(allowedWithoutRights, action)) << number;
        ++number;
    }
}

TEST_F(Access, TellsStrangersWhy) {
    const int status = asUser(m_nobody.uid, [&] {
        String message;
        const auto handle = m_daemon.connect();
        statusOf([&] { readInstances(*handle); }, &message);
        return message ==
                       "access denied: the user \"nobody\" may not connect: no "
                       "owcimomd.allowed_users names it"
                   ? 0
                   : 1;
    });
    EXPECT_EQ(0, status);
    EXPECT_EQ(0, asUser(m_nobody.uid,
                        [&] {
                            m_daemon.connect()->ping();
                            return 0;
                        }))
        << "anybody may ask whether there is a daemon";
}

TEST_F(Access, ChangesWithTheRights) {
    EXPECT_EQ(2, statusFor(m_reader, writeInstances));
    m_daemon.connect()->deleteInstance("root/security",
                                       CIMObjectPath("OpenWBEM_UserACL")
                                           .setKeyValue("nspace", CIMValue("test"))
                                           .setKeyValue("username", CIMValue(m_reader.name)));
    EXPECT_EQ(2, statusFor(m_reader, readInstances));
    grant(m_reader, "TEST", "w");
    EXPECT_EQ(0, statusFor(m_reader, writeInstances)) << "namespaces have no letter case";
    EXPECT_EQ(2, statusFor(m_reader, readInstances));
}

TEST_F(Access, IsWithdrawnThroughAnySpellingOfTheNamespace) {
    const char* const spelling = "Root/SECURITY";
    const auto acl = [&](const String& capability) {
        CIMInstance result("OpenWBEM_UserACL");
        result.setProperty("nspace", CIMValue("test"));
        result.setProperty("username", CIMValue(m_reader.name));
        return result.setProperty("capability", CIMValue(capability));
    };
    const std::function<void(ClientCIMOMHandle&)> changes[] = {
        [&](ClientCIMOMHandle& h) { h.modifyInstance(spelling, acl("R")); },
        [&](ClientCIMOMHandle& h) { h.modifyInstance(spelling, acl("rR")); },
        [&](ClientCIMOMHandle& h) {
            const Array<CIMInstance> instances{acl("R")};
            h.store(spelling, {{}, {}, instances});
        },
        [&](ClientCIMOMHandle& h) { h.modifyInstance(spelling, acl("rR")); },
        [&](ClientCIMOMHandle& h) {
            h.deleteInstance(spelling, CIMObjectPath("OpenWBEM_UserACL")
                                           .setKeyValue("nspace", CIMValue("test"))
                                           .setKeyValue("username", CIMValue(m_reader.name)));
        },
        [&](ClientCIMOMHandle& h) { h.createInstance(spelling, acl("r")); },
    };
    bool may = true;
    for (const auto& change : changes) {
        EXPECT_EQ(may ? 0 : 2, statusFor(m_reader, readInstances));
        change(*m_daemon.connect());
        may = !may;
        EXPECT_EQ(may ? 0 : 2, statusFor(m_reader, readInstances)) << &change - changes;
    }
}

TEST_F(Access, NamespacesAreInstancesOfTheInteropNamespace) {
    const auto list = [](CIMOMHandleIFC& h) { CIMNameSpaceUtils::enumCIM_Namespace(h, "root"); };
    const auto create = [](CIMOMHandleIFC& h) {
        CIMNameSpaceUtils::createCIM_Namespace(h, "new", 0, "", "root");
    };
    EXPECT_EQ(2, statusFor(m_writer, list));
    EXPECT_EQ(2, statusFor(m_writer, create));
    grant(m_writer, "root", "rwR");
    EXPECT_EQ(0, statusFor(m_writer, list));
    EXPECT_EQ(0, statusFor(m_writer, create));
    EXPECT_EQ(11, statusFor(m_writer, create));
}

TEST_F(Access, AssociationsLeadOnlyWhereTheUserMayRead) {
    {
        const auto handle = m_daemon.connect();
        CIMNameSpaceUtils::createCIM_Namespace(*handle, "secret", 0, "", "root");
        addSchema(*handle, "secret");
        handle->createInstance("secret", car(9));
        handle->createInstance("test", owns(personPath("ann"), carPath(9).setNameSpace("secret")));
        EXPECT_EQ(1u, handle->associatorsA("test", personPath("ann"), {}).size());
    }
    const auto found = [&](const Stranger& user) {
        return asUser(user.uid, [&] {
            return static_cast<int>(
                m_daemon.connect()->associatorsA("test", personPath("ann"), {}).size());
        });
    };
    EXPECT_EQ(0, found(m_reader));
    EXPECT_EQ(2, statusFor(m_reader, [](CIMOMHandleIFC& h) {
                  h.associatorsA("test", carPath(9).setNameSpace("secret"), {});
              }));
    grant(m_reader, "secret", "r");
    EXPECT_EQ(1, found(m_reader));
}

using AccessOfAnEmptyRepository = RepositoryTest;

TEST_F(AccessOfAnEmptyRepository, IsRootsAlone) {
    OpenRepository opened(m_directory.path());
    OwCimomd::AccessControl control(*opened, {"daemon"});
    const auto mayRead = [&](const OwCimomd::User& user) {
        return control.has(user, "test", OwCimomd::Right::READ_INSTANCES);
    };
    EXPECT_TRUE(mayRead({0, "root"}));
    EXPECT_FALSE(mayRead({4711, ""})) << "the system does not know the user";
    EXPECT_FALSE(mayRead({1, "daemon"})) << "there is no namespace for the rights";
    opened->createNameSpace("root");
    opened->createNameSpace("root/security");
    control.noteChange("root/security");
    EXPECT_FALSE(mayRead({1, "daemon"})) << "there is no class of the rights";
}

}  // namespace
}  // namespace KovTest
