// SPDX-License-Identifier: Apache-2.0
//
// Enumerations under way over HTTP: whose they are, how many there may be, when they end.
#include "owcimomd/http/PullContexts.hpp"

#include <gtest/gtest.h>

namespace OwCimomd {
namespace {

constexpr size_t BUDGET = size_t{64} << 20U;

class PullContextsTest : public ::testing::Test {
protected:
    static PulledEnumeration opened() {
        CIMXML::Request request;
        request.method = "OpenEnumerateInstances";
        request.ns = "story";
        request.arguments["classname"] = CIMXML::ClassName{"Story_Car"};
        return {std::make_shared<CIMXML::IntrinsicCall>(std::move(request)), {}};
    }
    int statusOfTaking(const User& user, const String& ns, const String& name) {
        try {
            contexts.take(user, ns, name);
            return 0;
        } catch (const CIMException& e) {
            return e.getErrNo();
        }
    }

    // Its destructor may throw, which a member of a fixture must not.
    std::unique_ptr<kj::TimerImpl> m_timer =
        std::make_unique<kj::TimerImpl>(kj::origin<kj::TimePoint>());
    kj::TimerImpl& timer = *m_timer;
    RequestBudget budget{BUDGET};
    PullContexts contexts{timer, budget};
    const User ann{1001, "ann"};
    const User ben{1002, "ben"};
};

TEST_F(PullContextsTest, HandItsEnumerationToItsUserOnce) {
    const String name = contexts.keep(ann, opened(), 60, 1000);
    EXPECT_EQ(32u, name.size());
    EXPECT_NE(name, contexts.keep(ann, opened(), 60, 1000));
    EXPECT_EQ(CIMException::INVALID_ENUMERATION_CONTEXT, statusOfTaking(ben, "story", name));
    EXPECT_EQ(CIMException::INVALID_ENUMERATION_CONTEXT, statusOfTaking(ann, "other", name));
    EXPECT_EQ(CIMException::INVALID_ENUMERATION_CONTEXT, statusOfTaking(ann, "story", "none"));
    EXPECT_EQ(0, statusOfTaking(ann, "STORY", name));
    EXPECT_EQ(CIMException::INVALID_ENUMERATION_CONTEXT, statusOfTaking(ann, "story", name));
}

TEST_F(PullContextsTest, EndWhenTheirClientLeavesThemAlone) {
    const String name = contexts.keep(ann, opened(), 60, 1000);
    timer.advanceTo(timer.now() + 59 * kj::SECONDS);
    auto [enumeration, timeout] = contexts.take(ann, "story", name);
    EXPECT_EQ(60u, timeout);
    contexts.putBack(ann, name, std::move(enumeration), timeout);
    timer.advanceTo(timer.now() + 59 * kj::SECONDS);
    auto [again, sameTimeout] = contexts.take(ann, "story", name);
    contexts.putBack(ann, name, std::move(again), sameTimeout);
    timer.advanceTo(timer.now() + 60 * kj::SECONDS);
    EXPECT_EQ(CIMException::INVALID_ENUMERATION_CONTEXT, statusOfTaking(ann, "story", name));
}

TEST_F(PullContextsTest, AreLimitedForEachUser) {
    String last;
    for (size_t i = 0; i < PullContexts::MAX_CONTEXTS; ++i) {
        last = contexts.keep(ann, opened(), 60, 1000);
    }
    const auto statusOfKeeping = [&](const User& user) {
        try {
            contexts.keep(user, opened(), 60, 1000);
            return 0;
        } catch (const CIMException& e) {
            return int(e.getErrNo());
        }
    };
    EXPECT_EQ(CIMException::SERVER_LIMITS_EXCEEDED, statusOfKeeping(ann));
    EXPECT_EQ(0, statusOfKeeping(ben));
    EXPECT_EQ(0, statusOfTaking(ann, "story", last));
    EXPECT_EQ(0, statusOfKeeping(ann));
    timer.advanceTo(timer.now() + 60 * kj::SECONDS);
    for (size_t i = 0; i < PullContexts::MAX_CONTEXTS; ++i) {
        ASSERT_EQ(0, statusOfKeeping(ann));
    }
}

TEST_F(PullContextsTest, CountAgainstTheMemoryOfTheirUser) {
    const auto all = budget.take(ann.uid, BUDGET);
    ASSERT_TRUE(all);
    EXPECT_THROW(contexts.keep(ann, opened(), 60, 1000), CIMException);
    EXPECT_NO_THROW(contexts.keep(ben, opened(), 60, 1000));
}

}  // namespace
}  // namespace OwCimomd
