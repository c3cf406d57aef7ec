// SPDX-License-Identifier: Apache-2.0
//
// What the daemon's log says about the changes of clients and about those it refused.
#include <gmock/gmock.h>
#include <pwd.h>
#include <unistd.h>

#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AuditLines : public ::testing::Test {
protected:
    AuditLines() : m_daemon(LiveDaemon::Start::LATER) {}
    void start() {
        m_daemon.start();
        const auto handle = m_daemon.connect();
        CIMNameSpaceUtils::createCIM_Namespace(*handle, "test", 0, "", "root");
        addSchema(*handle, "test");
        m_before = lines().size();
    }
    /// Those since start() that have `part` in them, without what the line of a user begins with.
    StringArray audited(const String& part = "") const {
        StringArray found;
        const StringArray all = lines();
        for (size_t i = m_before; i < all.size(); ++i) {
            if (all[i].find(part) != String::npos) {
                found.push_back(all[i]);
            }
        }
        return found;
    }
    static String byUs(const String& outcome) {
        const passwd* user = getpwuid(geteuid());
        return outcome + " user=\"" + (user == nullptr ? "" : user->pw_name) +
               "\" uid=" + std::to_string(geteuid()) + " ";
    }
    /// Calls `action` so many times on one connection of that user.
    void asStranger(uid_t uid, int times) {
        EXPECT_EQ(0, asUser(uid, [&] {
                      const auto handle = m_daemon.connect();
                      int refused = 0;
                      for (int i = 0; i < times; ++i) {
                          refused +=
                              statusOf([&] { handle->getClass("test", "Car"); }) == 2 ? 1 : 0;
                      }
                      return refused == times ? 0 : 1;
                  }));
    }

    LiveDaemon m_daemon;

private:
    StringArray lines() const {
        StringArray found;
        const String head = "owcimomd: audit: ";
        for (const String& line : blocxx::tokenize(m_daemon.log(), "\n")) {
            if (line.starts_with(head)) {
                found.push_back(line.substr(head.size()));
            }
        }
        return found;
    }
    size_t m_before = 0;
};

TEST_F(AuditLines, NameEachChangeWithItsUserAndObject) {
    start();
    const auto handle = m_daemon.connect();
    handle->createInstance("test", person("ann"));
    handle->deleteInstance("test", personPath("ann"));
    handle->createClass("test", makeClass("New", "", {}));
    handle->deleteClass("test", "New");
    handle->setQualifierType("test", qualifierType("Extra", CIMDataType::STRING, CIMScope::ANY));
    EXPECT_EQ(6, statusOf([&] { handle->deleteClass("test", "New"); }));
    handle->getClass("test", "Car");
    EXPECT_EQ(6, statusOf([&] { handle->getClass("test", "None"); }));
    const String done = byUs("done");
    EXPECT_THAT(
        audited(),
        ElementsAre(
            done + R"(operation=createInstance namespace="test" object="Person.Name=\"ann\"")",
            done + R"(operation=deleteInstance namespace="test" object="Person.Name=\"ann\"")",
            done + R"(operation=createClass namespace="test" object="New")",
            done + R"(operation=deleteClass namespace="test" object="New")",
            done + R"(operation=setQualifierType namespace="test" object="Extra")",
            byUs("failed") + R"(operation=deleteClass namespace="test" object="New" error=6)"))
        << "what only reads is not a change";
}

TEST_F(AuditLines, CountTheObjectsOfARequestThatStoresMany) {
    start();
    Array<CIMClass> classes;
    for (const char* name : {"A", "B", "C"}) {
        classes.push_back(makeClass(name, "", {}));
    }
    m_daemon.connect()->store("test", {{}, classes, {}});
    size_t objects = 0;
    for (const String& line : audited("operation=store")) {
        const size_t at = line.find(" objects=");
        objects += at == String::npos ? 1 : std::stoul(line.substr(at + 9));
    }
    EXPECT_EQ(3u, objects);
    EXPECT_THAT(audited()[0],
                HasSubstr(byUs("done") + R"(operation=store namespace="test" object="A")"));
    const Array<CIMClass> orphan{makeClass("Orphan", "None", {})};
    const auto handle = m_daemon.connect();
    EXPECT_EQ(10, statusOf([&] { handle->store("test", {{}, orphan, {}}); }));
    EXPECT_THAT(audited("failed"),
                ElementsAre(byUs("failed") +
                            R"(operation=store namespace="test" object="Orphan" error=10)"));
}

TEST_F(AuditLines, HoldNoValuesButKeysAndCannotBeForged) {
    start();
    CIMInstance instance = person("x\" uid=0\naudit: done\x1b[2J\\" + String(1000, 'y'));
    instance.setProperty("Note", CIMValue("secret"));
    m_daemon.connect()->createInstance("test", instance);
    const StringArray lines = audited();
    ASSERT_EQ(1u, lines.size());
    EXPECT_THAT(lines[0], AllOf(HasSubstr(R"(x\\\")"), HasSubstr("yyy...\""),
                                Not(HasSubstr("\x1b")), Not(HasSubstr("secret"))));
    EXPECT_LT(lines[0].size(), 1000u);
    EXPECT_THAT(m_daemon.log(), AllOf(Not(HasSubstr("secret")), Not(HasSubstr("\naudit"))));
}

TEST_F(AuditLines, TellWhoWasRefusedAndLetNoStrangerFillTheLog) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become other users";
    }
    const uid_t stranger = getpwnam("nobody")->pw_uid;
    const uid_t allowed = getpwnam("daemon")->pw_uid;
    writeFile(m_daemon.config(), "owcimomd.allowed_users = daemon\n");
    start();
    asStranger(stranger, 200);
    asStranger(getpwnam("games")->pw_uid, 200);
    asStranger(allowed, 1);
    const StringArray refused = audited("refused");
    ASSERT_EQ(31u, refused.size()) << "30 for all strangers, and one user who may connect";
    EXPECT_EQ("refused user=\"nobody\" uid=" + std::to_string(stranger) + " operation=getClass",
              refused.front());
    EXPECT_EQ("refused user=\"daemon\" uid=" + std::to_string(allowed) +
                  " operation=getClass namespace=\"test\"",
              refused.back());
}

TEST_F(AuditLines, AreLeftOutWhenOnlyErrorsAreLogged) {
    writeFile(m_daemon.config(), "owcimomd.log_level = error\n");
    start();
    m_daemon.connect()->createInstance("test", person("ann"));
    EXPECT_THAT(audited(), IsEmpty());
}

}  // namespace
}  // namespace KovTest
