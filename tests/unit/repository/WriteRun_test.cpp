// SPDX-License-Identifier: Apache-2.0
//
// Adjacent writes are held back and reach the file in one call, complete and at the right offset.
#include "openwbem/repository/WriteRun.hpp"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

namespace KovTest {
namespace {

using OpenWBEM::CheckedFile::WriteRun;
using ::testing::ElementsAre;
using Calls = std::vector<std::pair<sqlite3_int64, std::string>>;

/// A file that records the writes.
struct RecordingFile {
    sqlite3_file base;
    Calls* calls;
    int result;
};

int record(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    auto* const recording = reinterpret_cast<RecordingFile*>(file);
    recording->calls->emplace_back(
        offset, std::string(static_cast<const char*>(bytes), static_cast<size_t>(size)));
    return recording->result;
}

class WriteRunTest : public ::testing::Test {
protected:
    WriteRunTest() { m_methods.xWrite = record; }

    bool put(sqlite3_int64 offset, const std::string& bytes) {
        char* const place = m_run.next(offset, static_cast<int>(bytes.size()));
        if (place != nullptr) {
            std::memcpy(place, bytes.data(), bytes.size());
        }
        return place != nullptr;
    }
    int write() { return m_run.write(&m_file.base); }

    Calls m_calls;
    sqlite3_io_methods m_methods{};
    RecordingFile m_file{{&m_methods}, &m_calls, SQLITE_OK};
    WriteRun m_run;
};

TEST_F(WriteRunTest, PiecesThatFollowEachOtherAreOneCall) {
    EXPECT_TRUE(put(100, "one"));
    EXPECT_TRUE(put(103, "two"));
    EXPECT_TRUE(m_calls.empty());
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_THAT(m_calls, ElementsAre(std::pair(100, "onetwo")));
}

TEST_F(WriteRunTest, APieceThatDoesNotFollowHasToWait) {
    EXPECT_TRUE(put(100, "one"));
    EXPECT_FALSE(put(104, "two"));
    EXPECT_FALSE(put(100, "two"));
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_TRUE(put(104, "two"));
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_THAT(m_calls, ElementsAre(std::pair(100, "one"), std::pair(104, "two")));
}

TEST_F(WriteRunTest, TakesALargestPageAndNoMore) {
    EXPECT_FALSE(put(0, std::string((64 << 10) + 1, 'x')));
    EXPECT_TRUE(put(0, std::string(64 << 10, 'x')));
    EXPECT_FALSE(put(64 << 10, "y"));
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_THAT(m_calls, ElementsAre(std::pair(0, std::string(64 << 10, 'x'))));
}

TEST_F(WriteRunTest, NothingHeldBackIsNoCall) {
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_TRUE(m_calls.empty());
}

TEST_F(WriteRunTest, WhatCouldNotBeWrittenIsForgotten) {
    m_file.result = SQLITE_FULL;
    EXPECT_TRUE(put(100, "one"));
    EXPECT_EQ(SQLITE_FULL, write());
    EXPECT_EQ(SQLITE_OK, write());
    EXPECT_EQ(1U, m_calls.size());
}

}  // namespace
}  // namespace KovTest
