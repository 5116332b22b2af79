// The trace sink keeps a bounded window of numbered entries, so that a long
// running host holds a bounded trace and readers can ask for what is new.

#include <gtest/gtest.h>

#include <string>

#include "devhost/platform/TraceLog.h"

namespace {

using devhost::TraceLog;

class TraceWindow : public ::testing::Test {
protected:
    void SetUp() override { TraceLog::Clear(); }
    void TearDown() override {
        TraceLog::SetCapacity(TraceLog::kDefaultCapacity);
        TraceLog::Clear();
    }
    static void Write(const std::string& text) { TraceLog::Append({"m", "n", 0, text}); }
};

TEST_F(TraceWindow, NumbersGrowByOneAndAreNotReusedAfterClear) {
    const unsigned long long before = TraceLog::LastSequence();
    Write("a");
    Write("b");
    auto entries = TraceLog::EntriesSince(before, 10);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].seq, before + 1);
    EXPECT_EQ(entries[0].entry.text, "a");
    EXPECT_EQ(entries[1].seq, before + 2);

    TraceLog::Clear();
    EXPECT_TRUE(TraceLog::EntriesSince(0, 10).empty());
    Write("c");
    entries = TraceLog::EntriesSince(0, 10);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].seq, before + 3);
}

TEST_F(TraceWindow, OldestEntriesLeaveOnceTheWindowIsFull) {
    TraceLog::SetCapacity(3);
    const unsigned long long before = TraceLog::LastSequence();
    for (const char* text : {"1", "2", "3", "4", "5"}) Write(text);
    const auto entries = TraceLog::EntriesSince(0, 100);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].entry.text, "3");
    EXPECT_EQ(entries[0].seq, before + 3);
    EXPECT_EQ(entries[2].entry.text, "5");
    EXPECT_EQ(TraceLog::Entries().size(), 3u);
    // Shrinking drops the oldest at once.
    TraceLog::SetCapacity(1);
    ASSERT_EQ(TraceLog::Entries().size(), 1u);
    EXPECT_EQ(TraceLog::Entries()[0].text, "5");
}

TEST_F(TraceWindow, ReadsFromAnyPlaceWithALimit) {
    const unsigned long long before = TraceLog::LastSequence();
    for (const char* text : {"1", "2", "3", "4"}) Write(text);
    auto entries = TraceLog::EntriesSince(before + 1, 2);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].entry.text, "2");
    EXPECT_EQ(entries[1].entry.text, "3");
    EXPECT_TRUE(TraceLog::EntriesSince(before + 4, 10).empty());
    EXPECT_TRUE(TraceLog::EntriesSince(before + 99, 10).empty());
    EXPECT_EQ(TraceLog::EntriesSince(before + 3, 0).size(), 0u);
}

}  // namespace
