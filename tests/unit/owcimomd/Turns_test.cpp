// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/Turns.hpp"

#include <gtest/gtest.h>
#include <kj/async-io.h>

namespace OwCimomd {
namespace {

struct Loop {
    /// As the daemon's, it looks for what was sent while there is something to do.
    Loop() { io.waitScope.setBusyPollInterval(8); }

    /// What a client of the local socket has to do: a number of events, one after the other.
    kj::Promise<void> steps(unsigned count) {
        if (count == 0) {
            return kj::READY_NOW;
        }
        return kj::evalLater([this, count] {
            ++stepped;
            return steps(count - 1);
        });
    }

    kj::AsyncIoContext io = kj::setupAsyncIo();
    Turns turns{io.provider->getTimer()};
    unsigned stepped = 0;
};

TEST(TurnsTest, AreGivenInTheOrderInWhichTheyWereTaken) {
    Loop loop;
    std::string order;
    auto first = loop.turns.take().then([&] { order += "1"; }).eagerlyEvaluate(nullptr);
    auto second = loop.turns.take().then([&] { order += "2"; }).eagerlyEvaluate(nullptr);
    loop.turns.take().then([&] { order += "3"; }).wait(loop.io.waitScope);
    EXPECT_EQ("123", order);
}

TEST(TurnsTest, ComeAfterEverythingThatOthersHaveToDo) {
    Loop loop;
    kj::Promise<void> others = kj::READY_NOW;
    auto first = loop.turns.take()
                     .then([&] { others = loop.steps(20).eagerlyEvaluate(nullptr); })
                     .eagerlyEvaluate(nullptr);
    loop.turns.take().wait(loop.io.waitScope);
    EXPECT_EQ(20U, loop.stepped);
}

TEST(TurnsTest, ComeAfterAWhileHoweverMuchOthersHaveToDo) {
    Loop loop;
    kj::Promise<void> others = kj::READY_NOW;
    auto first = loop.turns.take()
                     .then([&] { others = loop.steps(~0U).eagerlyEvaluate(nullptr); })
                     .eagerlyEvaluate(nullptr);
    loop.turns.take().wait(loop.io.waitScope);
    EXPECT_LT(loop.stepped, ~0U);
}

TEST(TurnsTest, AreNotGivenToThoseWhoHaveGone) {
    Loop loop;
    auto first = loop.turns.take();
    { const auto gone = loop.turns.take(); }
    loop.turns.take().wait(loop.io.waitScope);
    first.wait(loop.io.waitScope);
    loop.turns.take().wait(loop.io.waitScope);
}

}  // namespace
}  // namespace OwCimomd
