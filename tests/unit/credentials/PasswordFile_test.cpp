// SPDX-License-Identifier: Apache-2.0
#include "credentials/PasswordFile.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace Credentials {
namespace {

using blocxx::Format;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const String SALT = "$y$j9T$......................$";
const String ONE = SALT + String(43, '1');
const String TWO = SALT + String(43, '2');

template <class Action>
String refusalOf(Action action) {
    try {
        action();
    } catch (const PasswordFileException& e) {
        return e.getMessage();
    }
    return "not refused";
}

String refusalOfText(const String& text) {
    return refusalOf([&] { PasswordFile::parse(text); });
}

TEST(PasswordFile, HasAHashForEachUser) {
    const PasswordFile file =
        PasswordFile::parse("# who may\n\nbob:" + TWO + "\n  # alice too\nalice:" + ONE);
    EXPECT_THAT(file.users(), ElementsAre("alice", "bob"));
    ASSERT_NE(file.hashOf("alice"), nullptr);
    EXPECT_EQ(*file.hashOf("alice"), ONE);
    EXPECT_EQ(*file.hashOf("bob"), TWO);
    for (const char* other : {"", "Alice", "alic", "# who may", "carol"}) {
        EXPECT_EQ(file.hashOf(other), nullptr) << other;
    }
}

TEST(PasswordFile, MayBeEmpty) {
    EXPECT_THAT(PasswordFile::parse("").users(), IsEmpty());
    EXPECT_EQ(PasswordFile::parse("").text(), "");
}

TEST(PasswordFile, KeepsOrderAndCommentsWhenItChanges) {
    PasswordFile file =
        PasswordFile::parse("# first\nbob:" + ONE + "\n\n# second\nalice:" + ONE + "\n");
    file.set("bob", TWO);
    file.set("carol", TWO);
    EXPECT_TRUE(file.remove("alice"));
    EXPECT_FALSE(file.remove("alice"));
    EXPECT_FALSE(file.remove(""));
    EXPECT_EQ(file.text(), "# first\nbob:" + TWO + "\n\n# second\ncarol:" + TWO + "\n");
    EXPECT_THAT(file.users(), ElementsAre("bob", "carol"));
    EXPECT_EQ(*file.hashOf("bob"), TWO);
    EXPECT_EQ(file.hashOf("alice"), nullptr);
}

TEST(PasswordFile, ARefusedLineIsNamedAndNotShown) {
    const char* const noHash = "what stands behind \":\" is not a hash that owpasswd makes";
    const char* const noUser = "what stands before \":\" is not the name of a user";
    const struct {
        String line;
        const char* why;
    } rows[] = {{"secret", "there is no \":\""},
                {":" + ONE, noUser},
                {" bob:" + ONE, noUser},
                {"bob smith:" + ONE, noUser},
                {String("b\0b:", 4) + ONE, noUser},
                {String(257, 'b') + ":" + ONE, noUser},
                {"bob:secret", noHash},
                {"bob:", noHash},
                {"bob: " + ONE, noHash},
                {"bob:" + ONE + "\r", noHash},
                {"bob:" + ONE + ":1000", noHash},
                {"bob:$y$jFT$" + ONE.substr(7), noHash},
                {"alice:" + TWO, "an earlier line has the same user"}};
    for (const auto& [line, why] : rows) {
        EXPECT_EQ(refusalOfText("alice:" + ONE + "\n# two\n" + line + "\n"),
                  String("line 3: ") + why);
    }
}

TEST(PasswordFile, HasLimits) {
    const String lines(PasswordFile::MAX_LINES, '\n');
    EXPECT_EQ(refusalOfText(lines), "not refused");
    EXPECT_EQ(refusalOfText(lines + "\n"), "line 10001: there are more than 10000 lines");
    PasswordFile full = PasswordFile::parse(lines);
    EXPECT_EQ(refusalOf([&] { full.set("bob", ONE); }), "there are more than 10000 lines");

    const String large = "#" + String(PasswordFile::MAX_SIZE - 2, 'x') + "\n";
    EXPECT_EQ(refusalOfText(large), "not refused");
    EXPECT_EQ(refusalOfText(large + "\n"), "it is larger than 1048576 bytes");
    PasswordFile heavy = PasswordFile::parse(large);
    EXPECT_EQ(refusalOf([&] { heavy.set("bob", ONE); }), "it would be larger than 1048576 bytes");
    EXPECT_EQ(heavy.text(), large);
}

TEST(PasswordFile, NothingIsSetThatCouldNotBeRead) {
    PasswordFile file = PasswordFile::parse("alice:" + ONE + "\n");
    for (const char* user : {"", "#bob", "bob:x", "bob\n", "bob smith"}) {
        EXPECT_EQ(refusalOf([&] { file.set(user, ONE); }),
                  "what stands before \":\" is not the name of a user");
    }
    EXPECT_EQ(refusalOf([&] { file.set("bob", "x\nroot:y"); }),
              "what stands behind \":\" is not a hash that owpasswd makes");
    EXPECT_EQ(file.text(), "alice:" + ONE + "\n");
}

TEST(PasswordFile, ANameThatItCannotHoldIsToldBeforehand) {
    EXPECT_EQ(refusalOf([] { PasswordFile::requireUserName("domain\\jürgen.b@x$"); }),
              "not refused");
    EXPECT_EQ(
        refusalOf([] { PasswordFile::requireUserName("a:b"); }),
        "\"a:b\" cannot be the name of a user here: it is empty, longer than 256 bytes, begins "
        "with \"#\", or has a blank, a colon or a control character in it");
}

class StoredPasswordFile : public ::testing::Test {
protected:
    void store(const String& content, mode_t mode = 0640) {
        ASSERT_EQ(blocxx::FileSystem::createNew(path(), content),
                  blocxx::FileSystem::WriteStep::DONE);
        ASSERT_EQ(::chmod(path().c_str(), mode), 0);
    }
    String path() const { return m_directory.path() + "/passwords"; }
    String refusal() const {
        return refusalOf([&] { PasswordFile::read(path()); });
    }
    String cannotUse(const char* why) const {
        return Format("cannot use the password file \"%1\": %2", path(), why);
    }

private:
    TemporaryDirectory m_directory;
};

TEST_F(StoredPasswordFile, IsRead) {
    store("alice:" + ONE + "\n");
    EXPECT_EQ(*PasswordFile::read(path()).hashOf("alice"), ONE);
}

TEST_F(StoredPasswordFile, IsNamedWithTheLineThatIsWrong) {
    store("alice:" + ONE + "\nbob\n");
    EXPECT_EQ(refusal(), cannotUse("line 2: there is no \":\""));
}

TEST_F(StoredPasswordFile, IsRefusedWhenItIsTooLarge) {
    store(String(PasswordFile::MAX_SIZE + 1, '\n'));
    EXPECT_EQ(refusal(), cannotUse("it is larger than 1048576 bytes"));
}

TEST_F(StoredPasswordFile, IsRefusedWhenOthersMayWriteIt) {
    store("alice:" + ONE + "\n", 0660);
    EXPECT_EQ(refusal(), cannotUse("others than its owner may write it"));
    ASSERT_EQ(::chmod(path().c_str(), 0602), 0);
    EXPECT_EQ(refusal(), cannotUse("others than its owner may write it"));
}

TEST_F(StoredPasswordFile, IsRefusedWhenItBelongsToAnother) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    store("alice:" + ONE + "\n");
    ASSERT_EQ(::chown(path().c_str(), 12345, 0), 0);
    EXPECT_EQ(refusal(), cannotUse("it does not belong to root"));
}

TEST_F(StoredPasswordFile, IsNotReadThroughALink) {
    store("alice:" + ONE + "\n");
    ASSERT_EQ(::rename(path().c_str(), (path() + ".real").c_str()), 0);
    ASSERT_EQ(::symlink((path() + ".real").c_str(), path().c_str()), 0);
    EXPECT_EQ(refusal(), String(Format("cannot read the password file \"%1\": 40(Too many levels "
                                       "of symbolic links)",
                                       path())));
}

TEST_F(StoredPasswordFile, IsARegularFileAndNoPipeToWaitFor) {
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(refusal(), cannotUse("it is not a regular file"));
}

TEST_F(StoredPasswordFile, ThatIsMissingIsToldByTheCode) {
    try {
        PasswordFile::read(path());
        ADD_FAILURE() << "nothing was thrown";
    } catch (const PasswordFileException& e) {
        EXPECT_EQ(e.getErrorCode(), ENOENT);
        EXPECT_EQ(e.getMessage(),
                  String(Format("cannot read the password file \"%1\": 2(No such file or "
                                "directory)",
                                path())));
    }
}

}  // namespace
}  // namespace Credentials
