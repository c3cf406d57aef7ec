// SPDX-License-Identifier: Apache-2.0
//
// The write-ahead log that a process leaves when it dies while it serves a repository: which units
// of work the next opening finds in it.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "tests/unit/repository/FaultyFiles.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t UNITS = 3;
/// Only every so many bytes are tried, because each opening syncs. STEP does not divide a page.
constexpr uintmax_t STEP = 331;

class LeftRepository {
public:
    /// A repository whose process dies after `units` units of work.
    explicit LeftRepository(uint32_t units) {
        openWithSchema();
        serve(units);
    }

    void serve(uint32_t units) {
        const pid_t child = ::fork();
        if (child == 0) {
            OpenRepository served(m_directory.path(), RepositoryUse::SERVED);
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
    /// Serves a unit, and one whose n-th operation on a file fails after all its bytes have been
    /// written. Returns what happened, in bits.
    int serveAndFailAt(int n) const {
        const pid_t child = ::fork();
        if (child == 0) {
            OpenRepository served(m_directory.path(), RepositoryUse::SERVED);
            served->createInstance("test", car(0));
            served->commit();
            FaultyFiles::arm(FaultyFiles::Kind::FAIL_COMPLETE, n);
            const int status = statusOf([&] {
                CIMInstance large = car(1);
                large.setProperty("Note", CIMValue(String(9000, 'n')));
                served->createInstance("test", large);
                served->commit();
            });
            ::_exit((FaultyFiles::disarm() ? REACHED : 0) | (status != 0 ? FAILED : 0));
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status);
    }
    enum : int { REACHED = 1, FAILED = 2 };
    String file() const { return m_directory.path() + "/repository.db"; }
    String log() const { return file() + "-wal"; }
    /// The number of cars that the next opening finds.
    size_t cars() const {
        OpenRepository opened(m_directory.path());
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
        OpenRepository opened(m_directory.path());
        addSchema(*opened, "test");
        opened.repository().close();
    }

    TemporaryDirectory m_directory;
};

TEST(WriteAheadLog, CutAtAnyLengthItStillGivesTheUnitsThatAreWhole) {
    const LeftRepository left(UNITS);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    const auto full = fs::file_size(left.log());
    size_t before = 0;
    size_t changes = 0;
    for (uintmax_t length = 0; length <= full; length += length + STEP < full ? STEP : 1) {
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

TEST(WriteAheadLog, AUnitWithAnyByteChangedEndsIt) {
    const LeftRepository left(UNITS);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    const auto full = fs::file_size(left.log());
    for (uintmax_t at = 0; at < full; at += STEP) {
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

/// The process dies after a unit that failed at its n-th operation; then the log is cut.
TEST(WriteAheadLog, CutAnywhereAfterAFailureItGivesNothingOfTheUnitThatFailed) {
    const LeftRepository left(0);
    const TemporaryDirectory saved;
    left.copyTo(saved.path());
    bool reached = true;
    int failures = 0;
    for (int n = 1; reached; ++n) {
        left.copyFrom(saved.path());
        const int outcome = left.serveAndFailAt(n);
        reached = (outcome & LeftRepository::REACHED) != 0;
        const bool hasFailed = (outcome & LeftRepository::FAILED) != 0;
        failures += hasFailed ? 1 : 0;
        const size_t whole = hasFailed ? 1 : 2;
        const TemporaryDirectory failed;
        left.copyTo(failed.path());
        const auto full = fs::file_size(left.log());
        for (const uintmax_t cut : {uintmax_t(0), uintmax_t(1), full / 3, full / 2, full - 100}) {
            left.copyFrom(failed.path());
            fs::resize_file(left.log(), full - cut);
            const size_t cars = left.cars();
            EXPECT_GE(whole, cars) << "at " << n << ", less " << cut;
            EXPECT_TRUE(cut > 0 || cars == whole) << "at " << n;
        }
        ASSERT_LT(n, 1000);
    }
    EXPECT_GT(failures, 5);
}

TEST(WriteAheadLog, ThatIsALinkIsRefused) {
    const LeftRepository left(UNITS);
    fs::rename(left.log(), left.file() + ".elsewhere");
    fs::create_symlink(left.file() + ".elsewhere", left.log());
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { left.cars(); }, &message));
    EXPECT_THAT(message, ::testing::HasSubstr("repository.db-wal"));
}

TEST(WriteAheadLog, KeepsEveryOperation) {
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
        OpenRepository served(directory.path(), RepositoryUse::SERVED);
        work(*served);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(0, status);
    const TemporaryDirectory plain;
    CIMRepository::create(plain.path());
    {
        OpenRepository opened(plain.path());
        work(*opened);
    }
    EXPECT_EQ(dump(plain.path()), dump(directory.path()));
}

}  // namespace
}  // namespace KovTest
