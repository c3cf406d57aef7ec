// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/FNConfigFile.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

class ConfigFile : public ::testing::Test {
protected:
    ConfigFile() { fs::create_directories(m_configs); }

    String prefix() const { return m_directory.path().string(); }
    fs::path snippet() const { return m_configs / "sample.conf"; }
    size_t filesInConfigs() const {
        return static_cast<size_t>(
            std::distance(fs::directory_iterator(m_configs), fs::directory_iterator()));
    }

    /// Expects that setting the snippet fails before anything is created, for that reason.
    void expectNameRefused(const String& name, const String& problem) {
        try {
            setConfigFileFromString(name, "x", prefix());
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 16);
            EXPECT_EQ(e.getMessage(), "Unable to create the file " + m_configs.string() + "/" +
                                          name + ".conf: 22(Invalid argument)");
            ASSERT_NE(e.getOtherException(), nullptr);
            EXPECT_EQ(e.getOtherException()->getMessage(),
                      "the product name \"" + name + "\" " + problem);
        }
        EXPECT_EQ(filesInConfigs(), 0U);
    }

    TemporaryDirectory m_directory;
    const fs::path m_configs = m_directory.path() / "etc/opt/tarvo/kov/openwbem/openwbem.conf.d";
    CapturedLog m_log;
};

/// Calls `operation` and expects a FennikException with this code and message.
template <class Operation>
void expectFennik(int code, const String& message, Operation operation) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), code);
        EXPECT_EQ(e.getMessage(), message);
    }
}

TEST_F(ConfigFile, MissingSnippetReadsAsEmpty) {
    EXPECT_EQ(getConfigFile("sample", prefix()), "");
}

TEST_F(ConfigFile, KeepsEveryByte) {
    String content;
    for (int byte = 0; byte < 256; ++byte) {
        content += static_cast<char>(byte);
    }
    setConfigFileFromString("sample", content, prefix());
    EXPECT_EQ(readFile(snippet()), content);
    EXPECT_EQ(getConfigFile("sample", prefix()), content);
    EXPECT_EQ(filesInConfigs(), 1U);
}

TEST_F(ConfigFile, SecondContentReplacesTheFirstCompletely) {
    setConfigFileFromString("sample", String(10000, 'x'), prefix());
    setConfigFileFromString("sample", "short", prefix());
    EXPECT_EQ(getConfigFile("sample", prefix()), "short");
    setConfigFileFromString("sample", "", prefix());
    EXPECT_TRUE(fs::exists(snippet()));
    EXPECT_EQ(getConfigFile("sample", prefix()), "");
}

TEST_F(ConfigFile, SnippetHasTheDefaultModeLessTheMask) {
    const mode_t before = ::umask(077);
    setConfigFileFromString("sample", "x", prefix());
    ::umask(before);
    EXPECT_EQ(fs::status(snippet()).permissions(), fs::perms(0600));
}

TEST_F(ConfigFile, SourceIsTakenBelowThePrefixAsPlainText) {
    writeFile(m_directory.path() / "source", "from a file\n");
    setConfigFile("sample", "/source", prefix());
    EXPECT_EQ(getConfigFile("sample", prefix()), "from a file\n");
    setConfigFile("other", "source", prefix() + "/");
    EXPECT_EQ(getConfigFile("other", prefix()), "from a file\n");
}

TEST_F(ConfigFile, SourceMayBeAPipeAlsoAnEmptyOne) {
    fs::create_directory_symlink("/dev", m_directory.path() / "dev");
    int ends[2] = {};
    for (const std::string_view text : {"a = b\n", ""}) {
        ASSERT_EQ(::pipe(ends), 0);
        ASSERT_EQ(::write(ends[1], text.data(), text.size()), ssize_t(text.size()));
        ::close(ends[1]);
        setConfigFile("sample", "/dev/fd/" + std::to_string(ends[0]), prefix());
        ::close(ends[0]);
        EXPECT_EQ(readFile(snippet()), text);
    }
}

TEST_F(ConfigFile, LargerOneThanCanBeSetIsReadBackRemovedAndWrittenBack) {
    const auto size = blocxx::FileSystem::MAX_CONTENT_SIZE + 1;
    writeFile(snippet(), "");
    fs::resize_file(snippet(), size);
    fs::copy_file(snippet(), m_directory.path() / "source");
    EXPECT_EQ(getConfigFile("sample", prefix()).size(), size);
    CleanupActions_t undo;
    rmConfigFile("sample", prefix(), undo);
    EXPECT_FALSE(fs::exists(snippet()));
    executeCleanupActions(undo);
    EXPECT_EQ(fs::file_size(snippet()), size);
    try {
        setConfigFile("other", "/source", prefix());
        ADD_FAILURE() << "nothing was thrown";
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_EQ(e.getMessage(), "Cannot read \"" + prefix() +
                                      "/source\": it is longer than 64 MiB, which is the most that "
                                      "a product's configuration may have");
    }
    EXPECT_EQ(filesInConfigs(), 1U);
}

TEST_F(ConfigFile, MissingSourceIsNamed) {
    expectFennik(15, "The specified path " + prefix() + "/none : does not exist.",
                 [&] { setConfigFile("sample", "/none", prefix()); });
    EXPECT_EQ(filesInConfigs(), 0U);
}

TEST_F(ConfigFile, SourceThatIsADirectoryIsAnError) {
    EXPECT_THROW(setConfigFile("sample", "/etc", prefix()), blocxx::FileSystemException);
    EXPECT_EQ(filesInConfigs(), 0U);
}

TEST_F(ConfigFile, DirectoryInPlaceOfTheSnippetIsReportedAndTheTemporaryFileRemoved) {
    fs::create_directory(snippet());
    expectFennik(16, "Unable to create the file " + snippet().string() + ": 21(Is a directory)",
                 [&] { setConfigFileFromString("sample", "x", prefix()); });
    try {
        setConfigFileFromString("sample", "x", prefix());
    } catch (const FennikException& e) {
        ASSERT_NE(e.getOtherException(), nullptr);
        EXPECT_TRUE(
            String(e.getOtherException()->getMessage())
                .starts_with("\"" + snippet().string() + "\" is a directory and not a file: "));
    }
    EXPECT_EQ(filesInConfigs(), 1U);
}

TEST_F(ConfigFile, MissingDirectoryIsAFailureOfTheTemporaryFile) {
    fs::remove_all(m_configs);
    try {
        setConfigFileFromString("sample", "x", prefix());
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 16);
        EXPECT_NE(String(e.getMessage()).find(m_configs.string()), String::npos);
    }
}

TEST_F(ConfigFile, NameTooLongForAFileIsRefused) {
    expectNameRefused(String(251, 'x'), "is longer than 250 bytes");
    setConfigFileFromString(String(250, 'x'), "x", prefix());
    EXPECT_EQ(getConfigFile(String(250, 'x'), prefix()), "x");
}

TEST_F(ConfigFile, NameThatIsNoFileNameStaysInsideTheDirectory) {
    writeFile(m_configs.parent_path() / "x.conf", "not a snippet");
    const std::pair<String, String> rows[] = {
        {"", "is empty"},
        {".", "stands for a directory"},
        {"..", "stands for a directory"},
        {"../x", "has a slash in it"},
        {"a/b", "has a slash in it"},
        {"x.allowed_users", "ends in \".allowed_users\", which is for the files of allowed users"}};
    for (const auto& [name, problem] : rows) {
        SCOPED_TRACE("name \"" + name + "\"");
        expectNameRefused(name, problem);
        EXPECT_EQ(getConfigFile(name, prefix()), "");
        CleanupActions_t undo;
        rmConfigFile(name, prefix(), undo);
        EXPECT_TRUE(undo.empty());
    }
    EXPECT_EQ(filesInConfigs(), 0U);
    EXPECT_EQ(readFile(m_configs.parent_path() / "x.conf"), "not a snippet");
}

/// Expects that reading and removing the snippet say what is in its place, and leave that there.
void expectUntouched(const String& prefix, const fs::path& snippet, const String& what) {
    const String message = "\"" + snippet.string() + "\" is " + what +
                           " and not a file: fennik neither reads nor removes it. Remove it, or "
                           "put a file with the configuration in its place; then run the command "
                           "again.";
    CleanupActions_t undo;
    const boost::function<void()> operations[] = {[&] { getConfigFile("sample", prefix); },
                                                  [&] { rmConfigFile("sample", prefix, undo); }};
    for (const auto& operation : operations) {
        try {
            operation();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const blocxx::FileSystemException& e) {
            EXPECT_EQ(e.getMessage(), message);
        }
    }
    EXPECT_TRUE(undo.empty());
    EXPECT_TRUE(fs::exists(fs::symlink_status(snippet)));
}

TEST_F(ConfigFile, LinkInPlaceOfTheSnippetIsNamedAndLeft) {
    writeFile(m_directory.path() / "secret", "secret");
    fs::create_symlink(m_directory.path() / "secret", snippet());
    expectUntouched(prefix(), snippet(), "a symbolic link");
}

TEST_F(ConfigFile, LinkToNothingInPlaceOfTheSnippetIsNamedAndLeft) {
    fs::create_symlink("nothing", snippet());
    expectUntouched(prefix(), snippet(), "a symbolic link");
}

TEST_F(ConfigFile, DirectoryInPlaceOfTheSnippetIsNamedAndLeft) {
    fs::create_directory(snippet());
    expectUntouched(prefix(), snippet(), "a directory");
}

TEST_F(ConfigFile, FifoInPlaceOfTheSnippetIsNamedAndLeft) {
    ASSERT_EQ(::mkfifo(snippet().c_str(), 0600), 0);
    expectUntouched(prefix(), snippet(), "a pipe or a device");
}

TEST_F(ConfigFile, LinkInPlaceOfTheSnippetIsReplacedNotFollowed) {
    writeFile(m_directory.path() / "target", "untouched");
    fs::create_symlink(m_directory.path() / "target", snippet());
    setConfigFileFromString("sample", "new", prefix());
    EXPECT_FALSE(fs::is_symlink(snippet()));
    EXPECT_EQ(readFile(snippet()), "new");
    EXPECT_EQ(readFile(m_directory.path() / "target"), "untouched");
}

TEST_F(ConfigFile, RemovingPushesTheStepThatWritesTheContentBack) {
    setConfigFileFromString("sample", "a = b\n", prefix());
    CleanupActions_t undo;
    rmConfigFile("sample", prefix(), undo);
    EXPECT_FALSE(fs::exists(snippet()));
    ASSERT_EQ(undo.size(), 1U);
    executeCleanupActions(undo);
    EXPECT_EQ(readFile(snippet()), "a = b\n");
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(ConfigFile, RemovingAMissingSnippetDoesNothing) {
    CleanupActions_t undo;
    rmConfigFile("sample", prefix(), undo);
    EXPECT_TRUE(undo.empty());
}

TEST_F(ConfigFile, LogsPathAndContents) {
    setConfigFileFromString("sample", "100%1\n", prefix());
    EXPECT_EQ(m_log.debugLines(),
              (blocxx::StringArray{
                  "Setting config file \"" + snippet().string() + "\" with contents:\n100%1\n",
                  "Successfully created config file \"" + snippet().string() + "\""}));
}

}  // namespace
}  // namespace KOVNS2::Testing
