// The host's trace over HTTP: a listing carries at most the first 4096
// bytes of each text, cut between UTF-8 sequences, with the whole length
// beside it; one entry is read whole by its number.

#include <gtest/gtest.h>

#include <string>

#include "GatewayTestSupport.h"
#include "ProbeInterface.h"
#include "devhost/platform/TraceLog.h"
#include "dp/QXTracer.h"

namespace gtest_gateway {
namespace {

using devhost::TraceLog;

devhost::gateway::GatewayOptions ProbeOptions() {
    devhost::gateway::GatewayOptions options;
    options.actorName = kProbeActor;
    options.servedInterface = kProbeName;
    return options;
}

class GatewayTraces : public ::testing::Test {
protected:
    void TearDown() override {
        TraceLog::SetCapacity(TraceLog::kDefaultCapacity);
        TraceLog::Clear();
    }
    static unsigned long long Write(const std::string& text) {
        TraceLog::Append({"m", "n", 0, text});
        return TraceLog::LastSequence();
    }

    ProbeFactories factories;
    ProbeActor probe;
    RunningGateway gateway{ProbeOptions()};
};

TEST_F(GatewayTraces, AListingCutsLongTextsBetweenSequencesAndGivesTheirLength) {
    const std::string euro = "\xe2\x82\xac";  // three bytes
    // 4094 bytes, then a sequence that would end past 4096.
    const std::string straddling = std::string(4094, 'a') + euro + "tail";
    const std::string exact(4096, 'b');
    const std::string document = "Tree Add Instances: " + std::string(3u << 20, 'c') + "\"\\";
    const unsigned long long before = TraceLog::LastSequence();
    Write("short");
    Write(straddling);
    Write(exact);
    Write(document);

    auto reply = gateway.Get("/host/traces?since=" + std::to_string(before));
    ASSERT_EQ(reply.status, 200) << reply.text.substr(0, 200);
    const auto& entries = reply.body["entries"];
    ASSERT_EQ(entries.Size(), 4u);
    EXPECT_STREQ(entries[0]["text"].GetString(), "short");
    EXPECT_EQ(entries[0]["length"].GetUint64(), 5u);
    EXPECT_FALSE(entries[0].HasMember("cut"));

    EXPECT_EQ(std::string(entries[1]["text"].GetString(), entries[1]["text"].GetStringLength()),
              std::string(4094, 'a'));
    EXPECT_EQ(entries[1]["length"].GetUint64(), straddling.size());
    EXPECT_TRUE(entries[1]["cut"].GetBool());

    EXPECT_EQ(entries[2]["text"].GetStringLength(), 4096u);
    EXPECT_EQ(entries[2]["length"].GetUint64(), 4096u);
    EXPECT_FALSE(entries[2].HasMember("cut")) << "a text of exactly 4096 bytes is whole";

    EXPECT_EQ(entries[3]["text"].GetStringLength(), 4096u);
    EXPECT_EQ(entries[3]["length"].GetUint64(), document.size());
    EXPECT_TRUE(entries[3]["cut"].GetBool());
    EXPECT_LT(reply.text.size(), 5u * 4096u) << "no listing carries a whole document";
    EXPECT_EQ(reply.body["last"].GetUint64(), before + 4);
}

TEST_F(GatewayTraces, OneEntryComesWholeByItsNumberWhileTheWindowHoldsIt) {
    // Written through a tracer in pieces that outgrow a short text, then
    // the room taken for a long one.
    const std::string document = "{\"treeMapping\":[" + std::string(3u << 19, 'x') + std::string(3u << 19, 'y') +
                                 std::string(2u << 20, 'z') + "\xc3\xa9]}";
    dp::QXTracer("m", "n")(dp::TT_Info) << document.substr(0, 3u << 19) << document.substr(3u << 19, 3u << 19)
                                        << document.substr(3u << 20);
    const unsigned long long seq = TraceLog::LastSequence();
    auto reply = gateway.Get("/host/traces/" + std::to_string(seq));
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body["seq"].GetUint64(), seq);
    EXPECT_STREQ(reply.body["names"][0].GetString(), "m");
    EXPECT_STREQ(reply.body["names"][1].GetString(), "n");
    EXPECT_EQ(reply.body["type"].GetInt(), 0);
    EXPECT_EQ(std::string(reply.body["text"].GetString(), reply.body["text"].GetStringLength()), document);
    EXPECT_EQ(reply.body["length"].GetUint64(), document.size());
    EXPECT_FALSE(reply.body.HasMember("cut"));

    // Out of the window: not yet written, dropped by the window, or cleared.
    for (const unsigned long long missing : {seq + 1, 0ull}) {
        reply = gateway.Get("/host/traces/" + std::to_string(missing));
        EXPECT_EQ(reply.status, 404);
        EXPECT_STREQ(reply.body["error"].GetString(), "unknown-trace");
    }
    TraceLog::SetCapacity(1);
    Write("later");
    EXPECT_EQ(gateway.Get("/host/traces/" + std::to_string(seq)).status, 404);
    EXPECT_EQ(gateway.Get("/host/traces/" + std::to_string(seq + 1)).status, 200);
    TraceLog::Clear();
    EXPECT_EQ(gateway.Get("/host/traces/" + std::to_string(seq + 1)).status, 404);
}

TEST_F(GatewayTraces, BadNumbersAreRefusedAndTheTraceServesOn) {
    const unsigned long long seq = Write("kept");
    for (const char* path : {"/host/traces/abc", "/host/traces/-1", "/host/traces/1e3",
                             "/host/traces/99999999999999999999999999", "/host/traces/%00"}) {
        auto reply = gateway.Get(path);
        EXPECT_EQ(reply.status, 400) << path << " -> " << reply.text;
        EXPECT_TRUE(reply.body.IsObject() && reply.body["message"].IsString()) << path;
    }
    EXPECT_EQ(gateway.Get("/host/traces/1/2").status, 404);
    const int endless = gateway.Get("/host/traces/" + std::string(100000, '9')).status;
    EXPECT_TRUE(endless == 400 || endless == 414) << endless;
    EXPECT_EQ(gateway.Get("/host/traces?since=0&limit=99999999999").status, 200);
    auto reply = gateway.Get("/host/traces/" + std::to_string(seq));
    ASSERT_EQ(reply.status, 200);
    EXPECT_STREQ(reply.body["text"].GetString(), "kept");
}

}  // namespace
}  // namespace gtest_gateway
