// SPDX-License-Identifier: Apache-2.0
//
// The start of the daemon's own process, as whoever starts it sees it.
#include "owcimomd/process/Background.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace OwCimomd::Testing {
namespace {

constexpr int PIPE = 3;        // to who waits
constexpr unsigned LONG = 20;  // seconds

TEST(BackgroundDeath, DaemonThatCannotTellThatItIsReadyEnds) {
    EXPECT_EXIT(std::exit(runInBackground([](const auto& ready) {
                    ::close(PIPE);
                    ready({});
                    ::sleep(LONG);
                    return 0;
                })),
                ::testing::ExitedWithCode(1),
                "owcimomd: error: exited with status 1 before it was ready\n");
}

}  // namespace
}  // namespace OwCimomd::Testing
