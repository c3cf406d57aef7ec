// SPDX-License-Identifier: Apache-2.0
//
// An attacker who can write the repository directory cannot make a process that opens the
// repository touch another file, hang, or run code.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;

String bigEndian(uint32_t number) {
    String bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(number >> shift));
    }
    return bytes;
}

/// A rollback journal without page content that names `file` as its super-journal
/// (https://www.sqlite.org/fileformat2.html#the_rollback_journal).
String journalNaming(const String& file, uint32_t pages) {
    const String magic("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8);
    String journal =
        magic + bigEndian(0) + bigEndian(7) + bigEndian(pages) + bigEndian(512) + bigEndian(4096);
    journal.resize(512);
    uint32_t sum = 0;
    for (const char c : file) {
        sum += static_cast<uint32_t>(c);
    }
    return journal + bigEndian(0) + file + bigEndian(static_cast<uint32_t>(file.size())) +
           bigEndian(sum) + magic;
}

class HostileDirectory : public RepositoryTest {
protected:
    HostileDirectory() {
        openWithSchema()->repository().close();
        std::ofstream(precious()) << "precious";
    }

    String precious() const { return m_other.path() + "/precious"; }
    void expectPreciousIsThere() const {
        std::ifstream in(precious());
        EXPECT_EQ(String(std::istreambuf_iterator<char>(in), {}), "precious");
    }
    /// Expects that opening the repository or writing to it fails; the message has `text`.
    void expectRefusal(const String& text, RepositoryUse use = RepositoryUse::UNIT_OF_WORK) const {
        String message;
        const int status = statusOf(
            [&] {
                OpenRepository opened(m_directory.path(), use);
                opened->createNameSpace("more");
                opened.repository().close();
            },
            &message);
        EXPECT_EQ(CIMException::FAILED, status);
        EXPECT_THAT(message, HasSubstr(text));
    }
    /// Runs SQL on the file and updates the checksums, as an attacker can.
    void change(const String& sql) const {
        const RepositoryDirectory directory(m_directory.path());
        sqlite3* database = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(directory.file().c_str(), &database,
                                             SQLITE_OPEN_READWRITE, CheckedFile::layerName()));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr))
            << sqlite3_errmsg(database);
        sqlite3_close(database);
    }

    TemporaryDirectory m_other;
};

TEST_F(HostileDirectory, AJournalThatNamesAnotherFileIsRefusedAndNothingRemoved) {
    const auto pages = static_cast<uint32_t>(fs::file_size(file()) / 4096);
    const String journal = journalNaming(precious(), pages);
    std::ofstream(file() + "-journal", std::ios::binary) << journal;
    for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::SERVED}) {
        expectRefusal("names another file", use);
        expectRefusal("move the journal away", use);
    }
    expectPreciousIsThere();
    EXPECT_EQ(fs::file_size(file() + "-journal"), journal.size());
    fs::remove(file() + "-journal");
    EXPECT_NE(dump(m_directory.path()), "");
}

TEST_F(HostileDirectory, ALogBesideARepositoryThatHasNoneIsNamed) {
    const String log = file() + "-wal";
    std::ofstream(log) << String(8192, 'x');
    expectRefusal("\"" + log + "\" is no log of the repository beside it");
    EXPECT_TRUE(fs::exists(log));
}

TEST_F(HostileDirectory, APipeInTheJournalsPlaceIsNotWaitedFor) {
    ASSERT_EQ(0, ::mkfifo((file() + "-journal").c_str(), 0600));
    expectRefusal("is not a regular file");
}

TEST_F(HostileDirectory, APipeThatAJournalNamesIsNotOpened) {
    const String pipe = m_other.path() + "/pipe";
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    const auto pages = static_cast<uint32_t>(fs::file_size(file()) / 4096);
    std::ofstream(file() + "-journal", std::ios::binary) << journalNaming(pipe, pages);
    expectRefusal("names another file");
}

/// Whether a lock of this process keeps a child from writing to the file.
bool isLockedForOthers(const String& file) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr off_t SHARED_BYTES = 0x40000002;  // where SQLite locks
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = SHARED_BYTES;
        lock.l_len = 510;
        const int opened = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
        ::_exit(::fcntl(opened, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0;
}

TEST_F(HostileDirectory, ARefusalLeavesTheLocksOfThisProcess) {
    const RepositoryDirectory directory(m_directory.path());
    sqlite3* reader = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(directory.file().c_str(), &reader, SQLITE_OPEN_READWRITE,
                                         CheckedFile::layerName()));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_exec(reader, "BEGIN; SELECT count(*) FROM class", nullptr, nullptr, nullptr));
    ASSERT_TRUE(isLockedForOthers(file()));
    if (const pid_t child = ::fork(); child == 0) {
        std::fstream(file(), std::ios::in | std::ios::out | std::ios::binary) << "damaged";
        ::_exit(0);
    } else {
        ::waitpid(child, nullptr, 0);
    }
    expectRefusal("is not a repository");
    EXPECT_TRUE(isLockedForOthers(file()));
    sqlite3_close(reader);
}

TEST_F(HostileDirectory, LinksInThePlaceOfItsFilesAreNotFollowed) {
    for (const char* ending : {"-journal", "-wal"}) {
        const String name = file() + ending;
        fs::create_symlink(precious(), name);
        const bool isJournal = String(ending) == "-journal";
        expectRefusal(name, isJournal ? RepositoryUse::UNIT_OF_WORK : RepositoryUse::SERVED);
        fs::remove(name);
        expectPreciousIsThere();
    }
}

TEST_F(HostileDirectory, DirectoriesAndPipesInThePlaceOfItsFilesAreRefused) {
    for (const char* ending : {"", "-journal", "-wal"}) {
        const String name = file() + ending;
        const String kept = m_other.path() + "/kept";
        if (fs::exists(name)) {
            fs::rename(name, kept);
        }
        fs::create_directory(name);
        expectRefusal("not a regular file", RepositoryUse::SERVED);
        fs::remove(name);
        ASSERT_EQ(0, ::mkfifo(name.c_str(), 0600));
        expectRefusal("not a regular file", RepositoryUse::SERVED);
        fs::remove(name);
        if (fs::exists(kept)) {
            fs::rename(kept, name);
        }
    }
}

TEST_F(HostileDirectory, ASecondNameOfSomebodyElsesFileIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to make files of two owners";
    }
    const String elsewhere = m_directory.path() + "/elsewhere";
    std::ofstream(elsewhere) << "precious";
    ASSERT_EQ(0, ::chown(m_directory.path().c_str(), 65534, 65534));
    ASSERT_EQ(0, ::chown(file().c_str(), 65534, 65534));
    for (const char* ending : {"-journal", "-wal"}) {
        fs::create_hard_link(elsewhere, file() + ending);
        expectRefusal("does not belong to the directory's owner", RepositoryUse::SERVED);
        struct stat status {};
        ASSERT_EQ(0, ::stat(elsewhere.c_str(), &status));
        EXPECT_EQ(status.st_uid, 0U) << "its owner is left alone";
        EXPECT_EQ(status.st_size, 8);
        fs::remove(file() + ending);
    }
    fs::create_hard_link(file(), m_directory.path() + "/second");
    EXPECT_NE(dump(m_directory.path()), "") << "the owner's own files may have two names";
}

TEST_F(HostileDirectory, ALinkOfAnotherUserInItsPlaceIsNotFollowed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to make a link of another user";
    }
    const String link = m_other.path() + "/repository";
    fs::create_directory_symlink(m_directory.path(), link);
    EXPECT_NE(dump(link), "");
    ASSERT_EQ(0, ::lchown(link.c_str(), 65534, 65534));
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { OpenRepository opened(link); }, &message));
    EXPECT_THAT(message, HasSubstr("is a link of another user"));
}

TEST_F(HostileDirectory, WhatWasReplacedMeanwhileIsNotChanged) {
    OpenRepository opened(m_directory.path());
    EXPECT_NE(dump(*opened), "");
    const String moved = m_other.path() + "/moved";
    fs::rename(m_directory.path(), moved);
    fs::create_directory(m_directory.path());
    CIMRepository::create(m_directory.path());
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { opened->createNameSpace("lost"); }, &message));
    EXPECT_THAT(message, HasSubstr("was replaced by another one"));
    EXPECT_EQ(dump(m_directory.path()), "");
}

TEST_F(HostileDirectory, ASchemaThatIsNotOursIsRefused) {
    fs::copy_file(file(), m_other.path() + "/saved");
    for (const auto& [sql, text] : std::initializer_list<std::pair<String, String>>{
             {"CREATE TRIGGER t AFTER INSERT ON namespace BEGIN DELETE FROM class; END",
              "the trigger \"t\" is not of a repository"},
             {"CREATE VIEW v AS SELECT 1", "the view \"v\" is not of a repository"},
             {"CREATE VIRTUAL TABLE x USING fts3(a)", "\" is not of a repository"},
             {"ALTER TABLE instance ADD COLUMN more AS (abs(id))",
              "the table \"instance\" is not of a repository"},
             {"DROP TABLE class_reference", "\"class_reference"},
             {"DROP INDEX class_super", "the index \"class_super\" is missing"},
             {"DROP TABLE instance; CREATE VIEW instance AS SELECT 1 AS id",
              "the view \"instance\" is not of a repository"},
             {"CREATE INDEX i ON instance (abs(id))", "the index \"i\" is not of a repository"}}) {
        fs::copy_file(m_other.path() + "/saved", file(), fs::copy_options::overwrite_existing);
        change(sql);
        for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::SERVED}) {
            expectRefusal(text, use);
            expectRefusal("put a backup of it back", use);
        }
    }
}

TEST_F(HostileDirectory, AClassBelowItselfIsAnErrorAndNotFollowedForEver) {
    {
        OpenRepository opened(m_directory.path());
        opened->createInstance("test", person("p"));
        opened->createInstance("test", car(1));
        opened->createInstance("test", owns(personPath("p"), carPath(1)));
        opened.repository().close();
    }
    // Person is below Student, and Student below Person.
    change(
        "UPDATE class SET super=(SELECT id FROM class WHERE name='student') WHERE name='person'");
    OpenRepository opened(m_directory.path());
    AssociationFilter filter;
    filter.resultClass = "Owns";
    auto names = makeResultHandler<CIMObjectPath>([](const CIMObjectPath&) {});
    for (const auto& operation : std::initializer_list<std::function<void()>>{
             [&] { opened->enumInstancesA("test", "Person"); },
             [&] { opened->enumClassNamesA("test", "Student", E_DEEP); },
             [&] { opened->associatorNames("test", carPath(1), names, filter); }}) {
        String message;
        EXPECT_EQ(CIMException::FAILED, statusOf(operation, &message));
        EXPECT_THAT(message, HasSubstr("holds a class that is below itself; put a backup"));
    }
}

TEST_F(HostileDirectory, AClassBelowAnotherThanItsSuperclassIsAnError) {
    change("UPDATE class SET super=(SELECT id FROM class WHERE name='car') WHERE name='student'");
    OpenRepository opened(m_directory.path());
    String message;
    const CIMClass changed =
        makeClass("Car", "Root", {property("Number", CIMDataType::UINT32, true)});
    EXPECT_EQ(CIMException::FAILED,
              statusOf([&] { opened->modifyClass("test", changed); }, &message));
    EXPECT_THAT(message, HasSubstr("holds the class Student below a class that is not its superc"));
}

TEST_F(HostileDirectory, ATriggerThatComesAfterTheOpeningDoesNotRun) {
    OpenRepository opened(m_directory.path());
    EXPECT_NE(dump(*opened), "");
    change("CREATE TRIGGER t AFTER INSERT ON namespace BEGIN DELETE FROM class; END");
    const size_t classes = opened->enumClassNamesA("test", "").size();
    opened->createNameSpace("more");
    EXPECT_EQ(opened->enumClassNamesA("test", "").size(), classes);
}

}  // namespace
}  // namespace KovTest
