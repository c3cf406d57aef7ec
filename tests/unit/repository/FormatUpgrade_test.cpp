// SPDX-License-Identifier: Apache-2.0
//
// A repository of an older format becomes one of the present format in one unit of work. There is
// only one format yet, so the tests invent the next ones.
#include "openwbem/repository/FormatUpgrade.hpp"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "openwbem/repository/RepositoryStore.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using RepositoryFormat::KnownFormat;
using RepositoryFormat::SchemaRow;
using ::testing::HasSubstr;

constexpr const char* NOTE = "CREATE TABLE note (id INTEGER PRIMARY KEY, ns INTEGER NOT NULL)";
constexpr const char* SECOND_NOTE = "CREATE TABLE second_note (id INTEGER PRIMARY KEY)";

void addNotes(Connection& connection) {
    connection.execute(NOTE, "written");
    connection.execute("INSERT INTO note (ns) SELECT id FROM namespace", "written");
}

void addSecondNotes(Connection& connection) {
    connection.execute(SECOND_NOTE, "written");
}

void fail(Connection& connection) {
    addNotes(connection);
    connection.execute("INSERT INTO nothing VALUES (1)", "written");
}

void doNothing(Connection&) {}

String contentOf(const String& file) {
    std::ifstream in(file, std::ios::binary);
    return String(std::istreambuf_iterator<char>(in), {});
}

class FormatUpgradeTest : public RepositoryTest {
protected:
    FormatUpgradeTest() {
        openWithSchema()->repository().close();
        m_second.push_back({"table", "note", "note", NOTE});
        m_third = m_second;
        m_third.push_back({"table", "second_note", "second_note", SECOND_NOTE});
    }

    /// The present format and two after it.
    std::vector<KnownFormat> formats(void (*toSecond)(Connection&) = addNotes) {
        return {RepositoryFormat::KNOWN[0], {2, m_second, toSecond}, {3, m_third, addSecondNotes}};
    }
    void upgrade(const std::vector<KnownFormat>& known) {
        Connection connection(m_directory.path());
        UnitOfWork unit(connection, RepositoryUse::UPGRADE);
        const int32_t from = connection.checkKnownFormat(known);
        ASSERT_TRUE(unit.beginWrite());
        FormatUpgrade::run(connection, from, known);
        unit.commit();
    }
    /// The message of the failure to upgrade with that step.
    String refusalOf(void (*toSecond)(Connection&)) {
        String message;
        EXPECT_EQ(CIMException::FAILED, statusOf([&] { upgrade(formats(toSecond)); }, &message));
        return message;
    }

    std::vector<SchemaRow> m_second{RepositoryFormat::SCHEMA.begin(),
                                    RepositoryFormat::SCHEMA.end()};
    std::vector<SchemaRow> m_third;
};

TEST_F(FormatUpgradeTest, RunsEachStepFromTheFormatOfTheFile) {
    auto known = formats();
    known.pop_back();
    upgrade(known);
    {
        Connection connection(m_directory.path());
        EXPECT_NO_THROW(connection.checkFormat(known));
        EXPECT_EQ(connection.pragma("SELECT count(*) FROM note"),
                  connection.pragma("SELECT count(*) FROM namespace"));
    }
    upgrade(formats());
    Connection connection(m_directory.path());
    EXPECT_NO_THROW(connection.checkFormat(formats()));
    EXPECT_EQ(connection.pragma("PRAGMA user_version"), 3);
    EXPECT_EQ(connection.pragma("SELECT count(*) FROM class"), 5);
}

TEST_F(FormatUpgradeTest, FormatThatOnlyKovSetupReadsIsNamedWithTheRemedy) {
    Connection connection(m_directory.path());
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { connection.checkFormat(formats()); }, &message));
    EXPECT_THAT(message, HasSubstr("\"" + file() +
                                   "\" has format 1, which is older than this "
                                   "program's; run kov-setup, which brings it up to date"));
}

TEST_F(FormatUpgradeTest, UpgradedFileIsRefusedByProgramsThatKnowOnlyTheOldFormat) {
    upgrade(formats());
    String message;
    for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::UPGRADE}) {
        EXPECT_EQ(CIMException::FAILED,
                  statusOf([&] { OpenRepository opened(m_directory.path(), use); }, &message));
        EXPECT_THAT(message, HasSubstr("has format 3 and this program knows only formats up to 1"));
    }
    EXPECT_FALSE(CIMRepository::hasPresentFormat(m_directory.path()));
}

TEST_F(FormatUpgradeTest, FailingStepLeavesTheFileAsItWas) {
    const String before = contentOf(file());
    EXPECT_THAT(refusalOf(fail), HasSubstr("\"" + file() + "\" cannot be written"));
    EXPECT_TRUE(contentOf(file()) == before);
}

TEST_F(FormatUpgradeTest, StepThatDoesNotLeaveTheSchemaOfItsFormatIsRefused) {
    const String before = contentOf(file());
    EXPECT_THAT(refusalOf(doNothing), HasSubstr("the table \"note\" is missing"));
    EXPECT_TRUE(contentOf(file()) == before);
}

TEST_F(FormatUpgradeTest, FormatThatNobodyHasWrittenIsRefused) {
    for (const char* version : {"PRAGMA user_version=0", "PRAGMA user_version=-1"}) {
        Connection(m_directory.path()).execute(version, "written");
        String message;
        for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::UPGRADE}) {
            EXPECT_EQ(CIMException::FAILED,
                      statusOf([&] { OpenRepository opened(m_directory.path(), use); }, &message));
            EXPECT_THAT(message, HasSubstr("is not a repository"));
        }
        EXPECT_FALSE(CIMRepository::hasPresentFormat(m_directory.path()));
    }
}

TEST_F(FormatUpgradeTest, PresentFormatStaysAsItIs) {
    const String before = contentOf(file());
    EXPECT_TRUE(CIMRepository::hasPresentFormat(m_directory.path()));
    {
        OpenRepository opened(m_directory.path(), RepositoryUse::UPGRADE);
        EXPECT_EQ(opened.repository().store().formatBefore, RepositoryFormat::VERSION);
        opened.repository().close();
    }
    EXPECT_TRUE(contentOf(file()) == before);
}

TEST_F(FormatUpgradeTest, FormatCanBeReadWhileTheFileIsServed) {
    const OpenRepository served(m_directory.path(), RepositoryUse::SERVED);
    EXPECT_TRUE(CIMRepository::hasPresentFormat(m_directory.path()));
}

TEST(KnownFormats, AreNumberedWithoutGapsAndEachHasAStepFromTheOneBefore) {
    const auto& known = RepositoryFormat::KNOWN;
    EXPECT_EQ(known.back().number, RepositoryFormat::VERSION);
    for (size_t i = 1; i < known.size(); ++i) {
        EXPECT_EQ(known[i].number, known[i - 1].number + 1);
        EXPECT_NE(known[i].fromFormatBefore, nullptr);
    }
    EXPECT_EQ(known.front().number, 1) << "the first format is read for ever";
}

}  // namespace
}  // namespace KovTest
