// SPDX-License-Identifier: Apache-2.0
//
// Opening a file: the message about a problem names the file and what to do. Damage is never read
// as data.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

String contentOf(const String& file) {
    std::ifstream in(file, std::ios::binary);
    return String(std::istreambuf_iterator<char>(in), {});
}

void write(const String& file, const String& content) {
    std::ofstream(file, std::ios::binary) << content;
}

class RepositoryFile : public RepositoryTest {
protected:
    /// Commits the schema and some instances.
    void fill() {
        const auto opened = openWithSchema();
        for (uint32_t i = 0; i < 40; ++i) {
            (*opened)->createInstance("test", person("p" + std::to_string(i)));
            (*opened)->createInstance("test", car(i));
            (*opened)->createInstance("test",
                                      owns(personPath("p" + std::to_string(i)), carPath(i)));
        }
        CIMInstance big = person("big");
        big.setProperty("Note", CIMValue(String(20000, 'x')));
        (*opened)->createInstance("test", big);
        opened->repository().close();
    }

    /// Expects that opening fails with FAILED; the message names the file and has `text`.
    void expectRefusal(const String& text, const String& named = String()) {
        String message;
        EXPECT_EQ(CIMException::FAILED,
                  statusOf([&] { OpenRepository opened(m_directory.path()); }, &message));
        EXPECT_THAT(message, HasSubstr(named.empty() ? file() : named));
        EXPECT_THAT(message, HasSubstr(text));
    }

    void setHeader(size_t at, uint32_t value) {
        std::fstream out(file(), std::ios::binary | std::ios::in | std::ios::out);
        out.seekp(static_cast<std::streamoff>(at));
        for (int shift = 24; shift >= 0; shift -= 8) {
            out.put(static_cast<char>(value >> shift));
        }
    }

    /// The dump of the file, or "" when it is refused. Expects FAILED and the file's name then.
    String readOrRefusal() {
        String result;
        String message;
        const int status = statusOf([&] { result = dump(m_directory.path()); }, &message);
        EXPECT_TRUE(status == 0 || status == CIMException::FAILED) << status;
        if (status != 0) {
            EXPECT_THAT(message, HasSubstr(file()));
        }
        return result;
    }
};

TEST_F(RepositoryFile, IsMadeEmptyAndOnlyOnce) {
    EXPECT_EQ("", dump(m_directory.path()));
    String message;
    EXPECT_EQ(1, statusOf([&] { CIMRepository::create(m_directory.path()); }, &message));
    EXPECT_THAT(message, HasSubstr("File exists"));
    EXPECT_EQ("", dump(m_directory.path()));
    EXPECT_EQ(1, statusOf([&] { CIMRepository::create(m_directory.path() + "/none"); }, &message));
    EXPECT_THAT(message, HasSubstr(m_directory.path() + "/none"));
}

TEST_F(RepositoryFile, OpeningNeverCreates) {
    std::filesystem::remove(file());
    expectRefusal("does not exist; run kov-setup");
    EXPECT_TRUE(std::filesystem::is_empty(m_directory.path()));
    std::filesystem::remove(m_directory.path());
    expectRefusal("does not exist; run kov-setup", m_directory.path());
    EXPECT_FALSE(std::filesystem::exists(m_directory.path()));
}

TEST_F(RepositoryFile, AnInterruptedSwapIsExplained) {
    const String live = m_directory.path() + "/repository";
    const String backup = m_directory.path() + "/repository-back_LKjs2354";
    std::filesystem::create_directory(backup);
    String message;
    EXPECT_EQ(1, statusOf([&] { OpenRepository opened(live); }, &message));
    EXPECT_THAT(message, HasSubstr("rename \"" + backup + "\" to \"" + live + "\""));
}

TEST_F(RepositoryFile, ALinkIsNotFollowed) {
    std::filesystem::rename(file(), m_directory.path() + "/elsewhere");
    std::filesystem::create_symlink(m_directory.path() + "/elsewhere", file());
    expectRefusal("not a regular file");
}

TEST_F(RepositoryFile, ALinkOnTheWayToTheDirectoryIsAllowed) {
    TemporaryDirectory other;
    std::filesystem::create_directory_symlink(m_directory.path(), other.path() + "/link");
    EXPECT_EQ("", dump(other.path() + "/link"));
}

TEST_F(RepositoryFile, ANewerFormatIsRefusedAsSuch) {
    setHeader(60, 2);
    expectRefusal("written by a newer version");
}

TEST_F(RepositoryFile, OtherFilesAreNotRepositories) {
    setHeader(68, 1);
    expectRefusal("is not a repository");
    write(file(), "");
    expectRefusal("is not a repository");
    write(file(), String(10000, 'n'));
    expectRefusal("is not a repository");
    write(file(), "SQLite format 3");
    expectRefusal("is not a repository");
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    expectRefusal("not a regular file");
}

TEST_F(RepositoryFile, CutAtAnyLengthItIsRefused) {
    fill();
    const String whole = contentOf(file());
    const String good = dump(m_directory.path());
    for (size_t length = 0; length < whole.size();
         length += (length < 200 || whole.size() - length < 20) ? 1 : 509) {
        write(file(), whole.substr(0, length));
        EXPECT_TRUE(readOrRefusal().empty()) << length;
        EXPECT_EQ(length, std::filesystem::file_size(file())) << "reading changes nothing";
    }
    write(file(), whole);
    EXPECT_TRUE(good == dump(m_directory.path()));
}

TEST_F(RepositoryFile, NoiseAnywhereIsAnErrorOrWithoutEffect) {
    fill();
    const String whole = contentOf(file());
    const String good = dump(m_directory.path());
    size_t refused = 0;
    size_t tried = 0;
    for (size_t at = 0; at < whole.size(); at += at < 128 ? 1 : 331) {
        String noisy = whole;
        noisy[at] = static_cast<char>(noisy[at] ^ (1 << (at % 8)));
        write(file(), noisy);
        const String found = readOrRefusal();
        EXPECT_TRUE(found.empty() || found == good) << "byte " << at;
        EXPECT_TRUE(noisy == contentOf(file())) << "reading changes nothing";
        ++tried;
        refused += found.empty() ? 1 : 0;
    }
    // The rest are bytes in pages that are not read, such as those of indexes.
    EXPECT_GT(refused, tried / 2);
}

TEST_F(RepositoryFile, PagesInOtherPlacesAreRefused) {
    fill();
    const String whole = contentOf(file());
    const String good = dump(m_directory.path());
    for (size_t page = 1; page + 1 < whole.size() / 4096; ++page) {
        String swapped = whole;
        std::swap_ranges(swapped.begin() + static_cast<long>(page * 4096),
                         swapped.begin() + static_cast<long>((page + 1) * 4096),
                         swapped.begin() + static_cast<long>((page + 1) * 4096));
        write(file(), swapped);
        const String found = readOrRefusal();
        EXPECT_TRUE(found.empty() || found == good) << "page " << page;
    }
}

/// Reads with no lock, inside a unit of work, and while the repository is served.
enum class Reader { IDLE, WRITER, SERVED };

class ZeroPages : public RepositoryFile, public ::testing::WithParamInterface<Reader> {
protected:
    void SetUp() override {
        fill();
        m_whole = contentOf(file());
    }
    /// Runs `read` on the file with `content`. Returns the status.
    template <class Read>
    int statusReading(const String& content, Read read, String* message) {
        write(file(), content);
        return statusOf(
            [&] {
                OpenRepository opened(m_directory.path(), GetParam() == Reader::SERVED
                                                              ? RepositoryUse::SERVED
                                                              : RepositoryUse::UNIT_OF_WORK);
                if (GetParam() == Reader::WRITER) {
                    opened->createNameSpace("other");
                    opened->deleteNameSpace("other");
                }
                read(*opened);
                opened.repository().abandon();
            },
            message);
    }
    String withZeros(size_t page) const {
        return String(m_whole).replace(page * PAGE, PAGE, PAGE, '\0');
    }

    static constexpr size_t PAGE = 4096;
    String m_whole;
};

TEST_P(ZeroPages, AreAnErrorOrWithoutEffect) {
    String good;
    String found;
    const auto read = [&](RepositoryCIMOMHandle& handle) { found = dump(handle); };
    EXPECT_EQ(0, statusReading(m_whole, read, nullptr));
    good = found;
    size_t refused = 0;
    for (size_t page = 0; page < m_whole.size() / PAGE; ++page) {
        String message;
        const int status = statusReading(withZeros(page), read, &message);
        EXPECT_TRUE(status == CIMException::FAILED || (status == 0 && found == good)) << page;
        EXPECT_TRUE(status == 0 || message.find(file()) != String::npos) << message;
        refused += status != 0 ? 1 : 0;
    }
    EXPECT_GT(refused, m_whole.size() / PAGE / 2);
}

TEST_P(ZeroPages, AreNoEndOfALargeObject) {
    // The last page of the note: it names no next one, and the note goes on in it.
    size_t last = 0;
    for (size_t page = 1; page < m_whole.size() / PAGE; ++page) {
        last = m_whole.compare(page * PAGE, 12, String(4, '\0') + "xxxxxxxx") == 0 ? page : last;
    }
    ASSERT_NE(0u, last);
    String message;
    const int status = statusReading(
        withZeros(last),
        [](CIMOMHandleIFC& handle) {
            CIMInstance big = handle.getInstance("test", personPath("big"));
            ADD_FAILURE() << big.getPropertyValue("Note").toString().size();
        },
        &message);
    EXPECT_EQ(CIMException::FAILED, status);
    EXPECT_THAT(message, HasSubstr(file()));
    EXPECT_THAT(message, HasSubstr("is damaged"));
}

TEST_P(ZeroPages, AreNotReadWhereTheFileIsCut) {
    for (size_t pages = 1; pages < m_whole.size() / PAGE; ++pages) {
        String message;
        const auto read = [](RepositoryCIMOMHandle& handle) { dump(handle); };
        EXPECT_EQ(CIMException::FAILED,
                  statusReading(m_whole.substr(0, pages * PAGE), read, &message))
            << pages;
        EXPECT_THAT(message, HasSubstr(file()));
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachReader, ZeroPages,
                         ::testing::Values(Reader::IDLE, Reader::WRITER, Reader::SERVED));

TEST_F(RepositoryFile, WritingToADamagedFileFailsAndLeavesNoUnitOfWork) {
    fill();
    String noisy = contentOf(file());
    for (size_t page = 1; page < noisy.size() / 4096; ++page) {
        noisy[page * 4096 + 100] = static_cast<char>(noisy[page * 4096 + 100] ^ 1);
    }
    write(file(), noisy);
    OpenRepository opened(m_directory.path());
    EXPECT_EQ(1, statusOf([&] { opened->createNameSpace("a"); }));
    EXPECT_EQ(0, statusOf([&] { opened->createNameSpace("a"); })) << "nothing left to do";
    EXPECT_EQ(1, statusOf([&] { opened->commit(); }));
    EXPECT_TRUE(noisy == contentOf(file()));
}

/// Runs `test` in a child with the user id 65534. Returns its result.
bool asNobody(const std::function<bool()>& test) {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool switched = ::setgid(65534) == 0 && ::setuid(65534) == 0;
        ::_exit(switched && test() ? 0 : 1);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return status == 0;
}

TEST_F(RepositoryFile, AReadOnlyFileCanBeReadAndTellsWhyItCannotBeWritten) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to become somebody without the right to write";
    }
    fill();
    const String good = dump(m_directory.path());
    ::chmod(m_directory.path().c_str(), 0755);
    ::chmod(file().c_str(), 0644);
    EXPECT_TRUE(asNobody([&] {
        OpenRepository opened(m_directory.path());
        String message;
        const int status = statusOf([&] { opened->createNameSpace("a"); }, &message);
        return dump(*opened) == good && status == 1 &&
               message.find("may not be written") != String::npos &&
               message.find(file()) != String::npos;
    }));
    EXPECT_TRUE(good == dump(m_directory.path()));
    ::chmod(file().c_str(), 0600);
    EXPECT_TRUE(asNobody([&] {
        String message;
        const int status = statusOf([&] { OpenRepository opened(m_directory.path()); }, &message);
        return status == 1 && message.find("check the owner and the mode") != String::npos;
    }));
}

}  // namespace
}  // namespace KovTest
