// SPDX-License-Identifier: Apache-2.0
//
// The log of a served repository's changes: which units of work an opening finds in it, and what it
// refuses to carry out.
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "openwbem/repository/ChangeRecord.hpp"
#include "openwbem/repository/ChangeStatements.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t UNITS = 3;

class LeftRepository {
public:
    /// Served by a process that dies after so many units of work.
    explicit LeftRepository(uint32_t units) {
        openWithSchema();
        serve(units);
    }

    void serve(uint32_t units) {
        const pid_t child = ::fork();
        if (child == 0) {
            Opened served(m_directory.path(), RepositoryUse::SERVED);
            for (uint32_t number = 0; number < units; ++number) {
                served->createInstance("test", car(number));
                served->commit();
            }
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(0, status);
    }
    String file() const { return m_directory.path() + "/repository.db"; }
    String log() const { return file() + "-changes"; }
    /// The cars that an opening finds.
    size_t cars() const {
        Opened opened(m_directory.path());
        return opened->enumInstanceNamesA("test", "Car").size();
    }
    void copyFrom(const fs::path& directory) const {
        for (const auto& entry : fs::directory_iterator(m_directory.path())) {
            fs::remove(entry.path());
        }
        fs::copy(directory, m_directory.path());
    }
    void copyTo(const fs::path& directory) const { fs::copy(m_directory.path(), directory); }

private:
    void openWithSchema() const {
        CIMRepository::create(m_directory.path());
        Opened opened(m_directory.path());
        addSchema(*opened, "test");
        opened.repository().close();
    }

    TemporaryDirectory m_directory;
};

TEST(ChangeLog, CutAtAnyLengthItStillGivesTheUnitsThatAreWhole) {
    const LeftRepository left(UNITS);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    const auto full = fs::file_size(left.log());
    size_t before = 0;
    size_t changes = 0;
    // Each opening syncs, so that not every length is tried.
    for (uintmax_t length = 0; length <= full; length += length + 9 < full ? 9 : 1) {
        left.copyFrom(saved.path());
        fs::resize_file(left.log(), length);
        const size_t cars = left.cars();
        EXPECT_TRUE(cars == before || cars == before + 1) << "at " << length;
        EXPECT_EQ(length == full, cars == UNITS) << "at " << length;
        changes += cars != before ? 1 : 0;
        before = cars;
    }
    EXPECT_EQ(UNITS, changes);
}

TEST(ChangeLog, AUnitWithAnyByteChangedEndsIt) {
    const LeftRepository left(UNITS);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    const auto full = fs::file_size(left.log());
    for (uintmax_t at = 0; at < full; at += 23) {
        left.copyFrom(saved.path());
        std::fstream log(left.log(), std::ios::in | std::ios::out | std::ios::binary);
        log.seekg(static_cast<std::streamoff>(at));
        const char byte = static_cast<char>(log.get() ^ 0x10);
        log.seekp(static_cast<std::streamoff>(at));
        log.put(byte);
        log.close();
        EXPECT_GT(UNITS, left.cars()) << "at " << at;
    }
}

TEST(ChangeLog, OfAnotherRepositoryIsNotCarriedOut) {
    const LeftRepository other(UNITS);
    const LeftRepository left(1);
    fs::copy_file(other.log(), left.log(), fs::copy_options::overwrite_existing);
    EXPECT_EQ(0U, left.cars());
}

TEST(ChangeLog, ThatHasBeenMergedIsNotCarriedOutASecondTime) {
    LeftRepository left(UNITS);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    EXPECT_EQ(UNITS, left.cars());
    EXPECT_FALSE(fs::exists(left.log()));
    left.serve(0);
    fs::copy_file(saved.path() + "/repository.db-changes", left.log(),
                  fs::copy_options::overwrite_existing);
    EXPECT_EQ(UNITS, left.cars());
}

TEST(ChangeLog, ThatIsALinkIsRefused) {
    const LeftRepository left(UNITS);
    fs::rename(left.log(), left.file() + ".elsewhere");
    fs::create_symlink(left.file() + ".elsewhere", left.log());
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { left.cars(); }, &message));
    EXPECT_THAT(message, ::testing::HasSubstr("repository.db-changes"));
}

TEST(ChangeLog, KeepsEveryOperation) {
    TemporaryDirectory directory;
    CIMRepository::create(directory.path());
    const auto work = [](RepositoryCIMOMHandle& handle) {
        addSchema(handle);
        addSchema(handle, "gone");
        handle.createInstance("test", person("ann"));
        handle.createInstance("test", car(1));
        handle.createInstance("test", car(2));
        handle.createInstance("test", owns(personPath("ann"), carPath(1)));
        handle.commit();
        CIMInstance changed = car(2);
        changed.setProperty("Note", CIMValue(String("changed")));
        handle.modifyInstance("test", changed, E_EXCLUDE_QUALIFIERS, nullptr);
        handle.deleteInstance("test", carPath(1));
        handle.createClass("test", makeClass("Bus", "Car", {}));
        handle.commit();
        handle.deleteClass("test", "Bus");
        handle.setQualifierType("test", qualifierType("Fresh", CIMDataType::STRING, 0));
        handle.setQualifierType("test", qualifierType("Fresh", CIMDataType::BOOLEAN, 0));
        handle.deleteNameSpace("gone");
        handle.commit();
    };
    const pid_t child = ::fork();
    if (child == 0) {
        Opened served(directory.path(), RepositoryUse::SERVED);
        work(*served);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(0, status);
    const TemporaryDirectory plain;
    CIMRepository::create(plain.path());
    {
        Opened opened(plain.path());
        work(*opened);
    }
    EXPECT_EQ(dump(plain.path()), dump(directory.path()));
}

class ChangeReplayTest : public ::testing::Test {
protected:
    ChangeReplayTest() {
        sqlite3_open(":memory:", &m_database);
        execute(RepositoryFormat::SCHEMA);
    }
    ~ChangeReplayTest() override { sqlite3_close(m_database); }

    void execute(const char* sql) const {
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr)) << sql;
    }
    int apply(const String& record) const { return ChangeReplay(m_database).apply(record); }
    static String record(const char* sql, const BoundValues& values = {}) {
        String bytes;
        values.appendTo(bytes, sql);
        return bytes;
    }
    static String insertion(const char* name) {
        BoundValues values;
        values.add(-7);
        values.addText(name);
        values.addBlob(std::string_view("\0\1", 2));
        return record(ChangeStatements::PUT_QUALIFIER_TYPE, values);
    }

    sqlite3* m_database = nullptr;
};

TEST_F(ChangeReplayTest, MakesTheSameChange) {
    EXPECT_EQ(SQLITE_OK, apply(insertion("seven") + insertion("eight")));
    execute(
        "CREATE TEMP TABLE counted (n CHECK (n=2)); INSERT INTO counted SELECT count(*) "
        "FROM qualifier_type WHERE ns=-7 AND typeof(name)='text' AND body=X'0001'");
}

TEST_F(ChangeReplayTest, TakesNothingButAWholeRecord) {
    const String whole = insertion("seven");
    for (size_t size = 1; size < whole.size(); ++size) {
        EXPECT_NE(SQLITE_OK, apply(whole.substr(0, size))) << size;
    }
    EXPECT_NE(SQLITE_OK, apply(record(ChangeStatements::PUT_QUALIFIER_TYPE)));
}

TEST_F(ChangeReplayTest, TakesNothingButARepositorysOwnStatements) {
    const TemporaryDirectory elsewhere;
    const String attach = "ATTACH DATABASE '" + elsewhere.path() + "/attached' AS u";
    const String vacuum = "VACUUM INTO '" + elsewhere.path() + "/copy'";
    for (const char* sql :
         {"", "SELECT id FROM class", "PRAGMA user_version=7", "CREATE TABLE u (n)",
          "DROP TABLE class", attach.c_str(), vacuum.c_str(), "BEGIN", "COMMIT",
          "DELETE FROM class; DROP TABLE class", "DELETE FROM sqlite_master", "DELETE FROM class",
          "delete from class where id=1", "DELETE FROM class WHERE id=load_extension('x')",
          "DELETE FROM class WHERE id IN (SELECT a.id FROM class a, class b, class c, class d)"}) {
        EXPECT_EQ(SQLITE_CORRUPT, apply(record(sql))) << sql;
    }
    EXPECT_TRUE(fs::is_empty(elsewhere.path()));
}

}  // namespace
}  // namespace KovTest
