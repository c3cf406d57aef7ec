// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/AccountDirectory.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2 {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;
namespace fs = std::filesystem;

class AccountDirectoryTest : public testing::Test {
protected:
    AccountDirectoryTest() {
        fs::create_directories(directory / "below");
        Testing::writeFile(directory / "file", "content");
        fs::create_symlink("nowhere", directory / "link");
        EXPECT_EQ(::mkfifo((directory / "pipe").c_str(), 0600), 0);
    }

    Testing::TemporaryDirectory temporary;
    fs::path directory = temporary.path() / "directory";
};

TEST_F(AccountDirectoryTest, ListsEverythingButDirectories) {
    const blocxx::File opened = AccountDirectory::open(directory.string());
    for (int time = 0; time < 2; ++time) {
        EXPECT_THAT(AccountDirectory::fileNames(opened),
                    UnorderedElementsAre("file", "link", "pipe"));
    }
}

TEST_F(AccountDirectoryTest, IsSyncedWithoutFollowingLinksOrWaitingForPipes) {
    EXPECT_NO_THROW(AccountDirectory::sync(directory.string()));
}

TEST_F(AccountDirectoryTest, ThatIsALinkIsNotFollowed) {
    const blocxx::String link = (temporary.path() / "another").string();
    fs::create_directory_symlink(directory, link);
    try {
        AccountDirectory::sync(link);
        ADD_FAILURE() << "it was followed";
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_THAT(e.getMessage(), HasSubstr("Cannot open the directory \"" + link + "\""));
    }
}

TEST_F(AccountDirectoryTest, IsFoundInItsParentWhateverTakesTheParentsName) {
    const fs::path parent = temporary.path() / "parent";
    const fs::path moved = temporary.path() / "moved";
    fs::create_directories(parent / "directory");
    Testing::writeFile(parent / "directory" / "own", "");
    const blocxx::File opened = AccountDirectory::openParentOf((parent / "directory").string());
    fs::rename(parent, moved);
    fs::create_directory_symlink(temporary.path(), parent);
    const blocxx::String path = (parent / "directory").string();
    EXPECT_THAT(AccountDirectory::fileNames(AccountDirectory::openIn(opened, path)),
                UnorderedElementsAre("own"));
}

}  // namespace KOVNS2
