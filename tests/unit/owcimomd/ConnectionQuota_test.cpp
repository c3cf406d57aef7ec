// SPDX-License-Identifier: Apache-2.0
//
// How connections are divided between users, and how often refusals are logged.
#include "owcimomd/connections/ConnectionQuota.hpp"

#include <gtest/gtest.h>

#include "owcimomd/process/RareReport.hpp"

namespace KovTest {
namespace {

using OwCimomd::ConnectionQuota;
using OwCimomd::RareReport;
using OwCimomd::User;

using Taken = std::vector<ConnectionQuota::Slot>;

/// Takes as many connections as the user gets.
Taken takeAll(ConnectionQuota& quota, uid_t uid, bool isStranger = false) {
    Taken taken;
    while (auto slot = quota.take(User{uid, "somebody"}, isStranger)) {
        taken.push_back(std::move(slot));
    }
    return taken;
}

TEST(ConnectionQuota, AreSharedOutSoThatNobodyIsShutOut) {
    struct Row {
        const char* sentence;
        size_t all;
        size_t one;
        size_t another;
        size_t root;
    };
    for (const Row& row : {Row{"a quarter each where there are many", 4032, 1008, 1008, 2016},
                           Row{"what is left where there are few", 192, 128, 48, 16},
                           Row{"root alone where there are hardly any", 4, 3, 0, 1},
                           Row{"nobody where there are none", 0, 0, 0, 0}}) {
        ConnectionQuota quota(row.all);
        const Taken one = takeAll(quota, 1);
        EXPECT_EQ(row.one, one.size()) << row.sentence;
        const Taken another = takeAll(quota, 2);
        EXPECT_EQ(row.another, another.size()) << row.sentence;
        EXPECT_EQ(row.root, takeAll(quota, 0).size()) << row.sentence;
    }
}

TEST(ConnectionQuota, OfStrangersAreFew) {
    ConnectionQuota quota(4032);
    const Taken strangers = takeAll(quota, 1, true);
    EXPECT_EQ(ConnectionQuota::MAX_STRANGERS, strangers.size());
    EXPECT_EQ(nullptr, quota.take(User{2, ""}, true));
    EXPECT_NE(nullptr, quota.take(User{2, ""}, false));
}

TEST(ConnectionQuota, ComeBack) {
    ConnectionQuota quota(192);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(64u, takeAll(quota, 1, true).size());
        EXPECT_EQ(128u, takeAll(quota, 1).size());
        EXPECT_EQ(192u, takeAll(quota, 0).size());
    }
}

TEST(RareReport, TellsOneAMinuteAndHowManyItKept) {
    RareReport report;
    const RareReport::Clock::time_point start{std::chrono::hours(1)};
    EXPECT_EQ("a", report.due("a", start));
    EXPECT_EQ("", report.due("b", start));
    EXPECT_EQ("", report.due("c", start + std::chrono::seconds(59)));
    EXPECT_EQ("d (and 2 more like it since the last of these)",
              report.due("d", start + std::chrono::seconds(60)));
    EXPECT_EQ("", report.due("e", start + std::chrono::seconds(61)));
    EXPECT_EQ("f (and 1 more like it since the last of these)",
              report.due("f", start + std::chrono::hours(1)));
    EXPECT_EQ("g", report.due("g", start + std::chrono::hours(2)));
}

TEST(RareReport, TellsAsManyAMinuteAsItIsMadeFor) {
    RareReport report(2);
    const RareReport::Clock::time_point start{std::chrono::hours(1)};
    EXPECT_EQ("a", report.due("a", start));
    EXPECT_EQ("b", report.due("b", start + std::chrono::seconds(30)));
    EXPECT_EQ("", report.due("c", start + std::chrono::seconds(59)));
    EXPECT_EQ("d (and 1 more like it since the last of these)",
              report.due("d", start + std::chrono::seconds(60)));
    EXPECT_EQ("e", report.due("e", start + std::chrono::seconds(61)));
    EXPECT_EQ("", report.due("f", start + std::chrono::seconds(62)));
}

}  // namespace
}  // namespace KovTest
