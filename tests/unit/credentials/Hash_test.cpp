// SPDX-License-Identifier: Apache-2.0
#include "credentials/Hash.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <limits>

namespace Credentials {
namespace {

using ::testing::StartsWith;

// Of "correct horse", as crypt(3) makes it.
const String KNOWN = "$y$j9T$UnehT4KA5WF2F2eE6Hqos1$KAK07DGUMoO4us/.AYFe2QL/CIIwAv0v5bRug08yXH4";

String refusalOf(const String& password) {
    try {
        return hashPassword(password);
    } catch (const PasswordException& e) {
        return e.getMessage();
    }
}

/// The least of several, so that a busy machine does not count.
double secondsFor(const String* hash, const String& password) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < 5; ++i) {
        const auto used = [] {
            struct rusage usage {};
            ::getrusage(RUSAGE_SELF, &usage);
            return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
        };
        const double before = used();
        EXPECT_FALSE(matches(hash, password));
        least = std::min(least, used() - before);
    }
    return least;
}

TEST(Hash, MatchesItsPasswordAndNoOther) {
    const String hash = hashPassword("pässword: 1");
    EXPECT_THAT(hash, StartsWith("$y$j9T$"));
    EXPECT_TRUE(matches(&hash, "pässword: 1"));
    for (const char* other : {"pässword: 2", "pässword:", "pässword: 1 ", "Pässword: 1", ""}) {
        EXPECT_FALSE(matches(&hash, other)) << other;
    }
}

TEST(Hash, HasANewSaltEachTime) {
    EXPECT_NE(hashPassword("same"), hashPassword("same"));
}

TEST(Hash, IsThatOfTheSystemsMethod) {
    EXPECT_TRUE(isHash(KNOWN));
    EXPECT_TRUE(matches(&KNOWN, "correct horse"));
}

TEST(Hash, NothingMatchesWithoutAHash) {
    EXPECT_FALSE(matches(nullptr, "password"));
    EXPECT_FALSE(matches(nullptr, ""));
}

TEST(Hash, NothingBehindANulCounts) {
    const String hash = hashPassword("short");
    EXPECT_FALSE(matches(&hash, String("short\0er", 8)));
}

TEST(Hash, OnlyTheOneMethodWithItsCostIsAccepted) {
    const String rest = KNOWN.substr(String("$y$j9T$").size());
    ASSERT_TRUE(isHash("$y$j9T$" + rest));
    for (const String& text :
         {String(), "$y$jFT$" + rest, "$y$jAT$" + rest, "$y$j75$" + rest, "$gy$j9T$" + rest,
          "$y$j9T$" + rest + "x", KNOWN.substr(0, KNOWN.size() - 1), KNOWN + "\n",
          String("$1$salt$aaaaaaaaaaaaaaaaaaaaaa"), String("*0"), String("plain")}) {
        EXPECT_FALSE(isHash(text)) << text;
        EXPECT_FALSE(matches(&text, "correct horse")) << text;
    }
}

TEST(Hash, ASaltThatTheLibraryRefusesIsNone) {
    String hash = KNOWN;
    hash[String("$y$j9T$").size() + 21] = 'z';
    EXPECT_FALSE(isHash(hash));
    EXPECT_FALSE(matches(&hash, "correct horse"));
}

TEST(Hash, AnUnknownUserCostsAsMuchAsAWrongPassword) {
    const String foreign = "$1$salt$aaaaaaaaaaaaaaaaaaaaaa";
    const double wrong = secondsFor(&KNOWN, "wrong");
    EXPECT_GT(wrong, 0.005);
    for (const double other :
         {secondsFor(nullptr, "wrong"), secondsFor(&foreign, "wrong"), secondsFor(&KNOWN, ""),
          secondsFor(nullptr, String(100000, 'x')), secondsFor(&KNOWN, String(100000, 'x'))}) {
        EXPECT_GT(other, wrong / 2);
        EXPECT_LT(other, wrong * 2);
    }
}

TEST(Hash, WhatHttpCannotCarryIsNoPassword) {
    const struct {
        String password;
        const char* why;
    } rows[] = {{"", "it is empty"},
                {String(257, 'x'), "it is longer than 256 bytes"},
                {"a\tb", "there is a control character in it"},
                {String("a\0b", 3), "there is a control character in it"},
                {"a\x7f", "there is a control character in it"},
                {"p\xe4ssword", "it is not UTF-8"}};
    for (const auto& [password, why] : rows) {
        EXPECT_EQ(refusalOf(password), String("the password cannot be used: ") + why);
    }
    const String longest(MAX_PASSWORD_SIZE, 'x');
    const String hash = hashPassword(longest);
    EXPECT_TRUE(matches(&hash, longest));
    EXPECT_FALSE(matches(&hash, longest + "x"));
}

TEST(Hash, AWipedTextIsEmptyAndOverwritten) {
    String text = "a password that is too long to be inside the object";
    const char* where = text.data();
    const size_t size = text.size();
    wipe(text);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.data(), where);
    EXPECT_EQ(std::count(where, where + size, '\0'), static_cast<std::ptrdiff_t>(size));
}

}  // namespace
}  // namespace Credentials
