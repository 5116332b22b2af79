#include <gtest/gtest.h>

#include <iomanip>
#include <thread>
#include <vector>

#include "devhost/platform/TraceLog.h"
#include "dp/QXTracer.h"

TEST(Trace, EntriesKeepNamesTypeAndText) {
    devhost::TraceLog::Clear();
    dp::QXTracer tracer("web", "api");
    tracer(dp::TT_Error) << "Unexpected tag offset " << short(-1) << "for interface";
    tracer("Actor %s shutting down queue 0x%08x\n", "X", 0x1234u);
    auto entries = devhost::TraceLog::Entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].module, "web");
    EXPECT_EQ(entries[0].name, "api");
    EXPECT_EQ(entries[0].type, 3);
    EXPECT_EQ(entries[0].text, "Unexpected tag offset -1for interface");
    EXPECT_EQ(entries[1].type, -1);
    EXPECT_EQ(entries[1].text, "Actor X shutting down queue 0x00001234\n");
    devhost::TraceLog::Clear();
    EXPECT_TRUE(devhost::TraceLog::Entries().empty());
}

TEST(Trace, ConcurrentWritersLoseNothing) {
    devhost::TraceLog::Clear();
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([] {
            dp::QXTracer tracer("t", "w");
            for (int i = 0; i < 250; ++i) tracer(dp::TT_Info) << i;
        });
    for (auto& w : writers) w.join();
    EXPECT_EQ(devhost::TraceLog::Entries().size(), 1000u);
    devhost::TraceLog::Clear();
}

// Entries share a stream per thread: each starts empty and in the default
// format, whatever the one before did to it, and an entry written while
// another is open keeps its own text.
TEST(Trace, EachEntryStartsEmptyInTheDefaultFormat) {
    devhost::TraceLog::Clear();
    dp::QXTracer tracer("t", "f");
    tracer(dp::TT_Info) << std::hex << std::setfill('0') << std::setw(4) << 255 << std::setprecision(2) << 1.2345;
    tracer(dp::TT_Info) << 255 << ' ' << 1.2345 << ' ' << true;
    {
        dp::TraceFormatter outer = tracer(dp::TT_Warning);
        outer << "outer ";
        tracer(dp::TT_Info) << "inner";
        outer << "done";
    }
    const auto entries = devhost::TraceLog::Entries();
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].text, "00ff1.2");
    EXPECT_EQ(entries[1].text, "255 1.2345 1");
    EXPECT_EQ(entries[2].text, "inner");
    EXPECT_EQ(entries[3].text, "outer done");
    EXPECT_EQ(entries[3].type, 2);
    devhost::TraceLog::Clear();
}
