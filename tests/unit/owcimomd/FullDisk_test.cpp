// SPDX-License-Identifier: Apache-2.0
//
// The daemon on a full file system.
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

class FullDisk : public ::testing::Test {
protected:
    FullDisk() : daemon(LiveDaemon::Start::LATER) {}

    /// Moves the repository to a small file system, in a mount namespace of this process and its
    /// children.
    void SetUp() override {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            GTEST_SKIP() << "there can be no mount namespace of one's own here";
        }
        std::filesystem::rename(file(), daemon.prefix() + "/saved");
        mountWith("size=4m", 0);
        std::filesystem::copy_file(daemon.prefix() + "/saved", file());
    }
    void TearDown() override {
        if (daemon.isRunning()) {
            daemon.end(SIGKILL);
        }
        ::umount2(daemon.repository().c_str(), MNT_DETACH);
    }
    void mountWith(const char* size, unsigned long flags) {
        ASSERT_EQ(0, ::mount("small", daemon.repository().c_str(), "tmpfs", flags, size));
    }
    String file() const { return daemon.repository() + "/" + CIMRepository::FILE_NAME; }
    /// Creates instances, numbered from `first`, until one is refused. Returns that one's number.
    uint32_t fill(uint32_t first = 0) {
        const auto handle = daemon.connect();
        uint32_t number = first;
        const auto create = [&] {
            CIMInstance instance = car(number);
            instance.setProperty("Note", CIMValue(String(3000, 'n')));
            handle->createInstance("root", instance);
        };
        String message;
        while (number < 5000 && statusOf(create, &message) == 0) {
            ++number;
        }
        EXPECT_THAT(message, HasSubstr("the file system is full; make room there and try again"));
        return number;
    }
    size_t found() { return daemon.connect()->enumInstanceNamesA("root", "Car").size(); }

    LiveDaemon daemon;
};

TEST_F(FullDisk, RefusesChangesServesReadersAndLosesNothing) {
    daemon.start();
    addSchema(*daemon.connect(), "root");
    const uint32_t acknowledged = fill();
    ASSERT_GT(acknowledged, 100u);
    EXPECT_EQ(acknowledged, found());
    EXPECT_EQ(1, statusOf([&] {
                  CIMInstance instance = car(10000);
                  instance.setProperty("Note", CIMValue(String(100000, 'n')));
                  daemon.connect()->createInstance("root", instance);
              }))
        << "and again";
    EXPECT_EQ(acknowledged, found());

    daemon.end(SIGKILL);
    daemon.start();
    EXPECT_EQ(acknowledged, found()) << "killed on the full disk and started on it";

    EXPECT_NE(0, daemon.end(SIGTERM)) << "there is no room to bring everything into the one file";
    EXPECT_THAT(daemon.log(), HasSubstr("could not be closed, and the next start will do it"));
    mountWith("size=64m", MS_REMOUNT);
    daemon.start();
    EXPECT_EQ(acknowledged, found());
    EXPECT_EQ(0, statusOf([&] { daemon.connect()->createInstance("root", car(20000)); }));
    EXPECT_EQ(0, daemon.end(SIGTERM));
    OpenRepository opened(daemon.repository());
    EXPECT_EQ(acknowledged + 1, opened->enumInstanceNamesA("root", "Car").size());
}

TEST_F(FullDisk, IsServedAgainWhenThereIsRoom) {
    daemon.start();
    addSchema(*daemon.connect(), "root");
    const uint32_t acknowledged = fill();
    mountWith("size=8m", MS_REMOUNT);
    const uint32_t more = fill(acknowledged);
    EXPECT_GT(more, acknowledged + 100);
    EXPECT_EQ(more, found());
}

TEST_F(FullDisk, IsToldWhenTheDaemonCannotStartOnIt) {
    const size_t room = std::filesystem::space(daemon.repository()).available;
    writeFile(daemon.repository() + "/filler", String(room, 'f'));
    EXPECT_THROW(daemon.start(), std::runtime_error);
    EXPECT_THAT(daemon.log(), HasSubstr("the file system is full; make room there"));
    std::filesystem::remove(daemon.repository() + "/filler");
    EXPECT_NO_THROW(daemon.start());
}

}  // namespace
}  // namespace KovTest
