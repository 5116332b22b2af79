// The gateway serves an interface that it has never heard of, from its
// signature table alone: each type code both ways, null against empty
// strings, out parameters, references to a session's callback objects, and
// the callbacks those objects receive, streamed in order.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <variant>

#include "GatewayTestSupport.h"
#include "ProbeInterface.h"
#include "devhost/gateway/JsonReply.h"

namespace gtest_gateway {
namespace {

using devhost::MessageValue;

devhost::gateway::GatewayOptions ProbeOptions(std::size_t eventBytes = 1u << 20) {
    devhost::gateway::GatewayOptions options;
    options.actorName = kProbeActor;
    options.servedInterface = kProbeName;
    options.sessions.eventBytes = eventBytes;
    return options;
}

class GatewayProbe : public ::testing::Test {
protected:
    ProbeFactories factories;
    ProbeActor probe;
    RunningGateway gateway{ProbeOptions()};

    std::string Call(const std::string& body, int expected = 200) {
        auto reply = gateway.Post("/api/call", body);
        EXPECT_EQ(reply.status, expected) << body << " -> " << reply.text;
        return reply.text;
    }
    std::vector<MessageValue> LastValues() {
        auto messages = probe.Messages();
        return messages.empty() ? std::vector<MessageValue>() : messages.back().values;
    }
};

TEST_F(GatewayProbe, ListsTheServedInterfaceAndTheCallbacksItReferences) {
    auto reply = gateway.Get("/api/interfaces");
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.text,
              "{\"gtest::Probe\":["
              "{\"index\":0,\"signature\":\"Call__IRgtest::Listener__Il\",\"id\":5},"
              "{\"index\":1,\"signature\":\"Count\",\"id\":4},"
              "{\"index\":2,\"signature\":\"Echo__IS\",\"id\":0},"
              "{\"index\":3,\"signature\":\"Fill__OS\",\"id\":3},"
              "{\"index\":4,\"signature\":\"List__IQS__Ib\",\"id\":2},"
              "{\"index\":5,\"signature\":\"Mix__Id__Il__Iul__Ib\",\"id\":1}],"
              "\"gtest::Listener\":["
              "{\"index\":0,\"signature\":\"Done\",\"id\":1},"
              "{\"index\":1,\"signature\":\"Heard__IS__Il\",\"id\":0}]}");
}

TEST_F(GatewayProbe, EncodesEachTypeCodeInSignatureOrder) {
    EXPECT_EQ(Call(R"({"method":"Mix","args":[2.5,-7,4000000000,true]})"), R"({"out":[]})");
    std::vector<MessageValue> values = LastValues();
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(std::get<double>(values[0]), 2.5);
    EXPECT_EQ(std::get<std::int32_t>(values[1]), -7);
    EXPECT_EQ(std::get<std::uint32_t>(values[2]), 4000000000u);
    EXPECT_EQ(std::get<bool>(values[3]), true);

    // A sequence travels as its count and then its elements.
    EXPECT_EQ(Call(R"({"method":"List__IQS__Ib","args":[["a","b"],false]})"), R"({"out":[]})");
    values = LastValues();
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(std::get<std::uint32_t>(values[0]), 2u);
    EXPECT_EQ(std::get<du::Symbol>(values[1]).str(), "a");
    EXPECT_EQ(std::get<du::Symbol>(values[2]).str(), "b");
    EXPECT_EQ(std::get<bool>(values[3]), false);

    EXPECT_EQ(Call(R"({"method":"List","args":[[],true]})"), R"({"out":[]})");
    EXPECT_EQ(LastValues().size(), 2u);
}

TEST_F(GatewayProbe, DecodesResultsAndOutValuesByTheirTypes) {
    EXPECT_EQ(Call(R"({"method":"Count","args":[]})"), R"({"result":7,"out":[]})");
    EXPECT_EQ(Call(R"({"method":"Fill","args":[null]})"), R"({"out":["filled"]})");
    // An out parameter is sent as nothing.
    EXPECT_TRUE(LastValues().empty());
}

TEST_F(GatewayProbe, KeepsTheNullStringApartFromTheEmptyOne) {
    EXPECT_EQ(Call(R"({"method":"Echo","args":[null]})"), R"({"result":null,"out":[]})");
    EXPECT_TRUE(std::get<du::Symbol>(LastValues().at(0)).IsNull());
    EXPECT_EQ(Call(R"({"method":"Echo","args":[""]})"), R"({"result":"","out":[]})");
    EXPECT_FALSE(std::get<du::Symbol>(LastValues().at(0)).IsNull());
    EXPECT_EQ(Call(R"({"method":"Echo__IS","args":["caf\u00e9 \"x\""]})"), R"({"result":"café \"x\"","out":[]})");
}

TEST_F(GatewayProbe, RefusesArgumentsThatDoNotFitTheSignature) {
    const std::string session = Quoted(gateway.OpenSession());
    for (const std::string& body : std::vector<std::string>{
             R"({"method":"Mix","args":[1,2,3]})",               // too few
             R"({"method":"Mix","args":[1.5,2.5,3,true]})",      // l given a fraction
             R"({"method":"Mix","args":[1,2,-3,true]})",         // ul given a negative
             R"({"method":"Mix","args":[1,2147483648,3,true]})",  // l out of range
             R"({"method":"Mix","args":["1",2,3,true]})",        // d given a string
             R"({"method":"List","args":[["a",1],true]})",       // QS with a number
             R"({"method":"Fill","args":["x"]})",                // an out value given
             R"({"method":"Echo","args":[false]})",
             R"({"method":"Call","args":["session",1]})",  // "session" without a session
             R"({"method":"Call","args":["someone",1],"session":)" + session + "}",
         }) {
        auto reply = gateway.Post("/api/call", body);
        EXPECT_EQ(reply.status, 400) << body;
        EXPECT_TRUE(reply.body.IsObject() && reply.body.HasMember("message")) << reply.text;
    }
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"Nope","args":[]})").status, 400);
    EXPECT_TRUE(probe.Messages().empty()) << "nothing that does not fit is sent";
}

TEST_F(GatewayProbe, StreamsASessionsCallbacksInArrivalOrder) {
    const auto session = gateway.OpenSession();
    const std::string call = R"({"method":"Call","args":["session",3],"session":)" + Quoted(session) + "}";
    EXPECT_EQ(Call(call), R"({"out":[]})");
    EXPECT_EQ(gateway.Post("/host/settle", "{}").status, 200);
    const auto events = gateway.ReadEvents(session, 4);
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0],
              R"({"seq":1,"interface":"gtest::Listener","method":"Heard","signature":"Heard__IS__Il",)"
              R"("args":["heard 1",1]})");
    EXPECT_EQ(events[2],
              R"({"seq":3,"interface":"gtest::Listener","method":"Heard","signature":"Heard__IS__Il",)"
              R"("args":["heard 3",3]})");
    EXPECT_EQ(events[3], R"({"seq":4,"interface":"gtest::Listener","method":"Done","signature":"Done","args":[]})");
}

TEST_F(GatewayProbe, TwoSessionsGetOnlyTheirOwnCallbacks) {
    const auto first = gateway.OpenSession();
    const auto second = gateway.OpenSession();
    ASSERT_NE(first, second);
    Call(R"({"method":"Call","args":["session",1],"session":)" + Quoted(first) + "}");
    Call(R"({"method":"Call","args":["session",2],"session":)" + Quoted(second) + "}");
    gateway.Post("/host/settle", "{}");
    const auto firstEvents = gateway.ReadEvents(first, 2);
    const auto secondEvents = gateway.ReadEvents(second, 3);
    ASSERT_EQ(firstEvents.size(), 2u);
    ASSERT_EQ(secondEvents.size(), 3u);
    EXPECT_NE(firstEvents[0].find("\"heard 1\""), std::string::npos);
    EXPECT_NE(firstEvents[1].find("\"Done\""), std::string::npos);
    EXPECT_NE(secondEvents[1].find("\"heard 2\""), std::string::npos);
}

TEST_F(GatewayProbe, AClosedStreamLosesNothingAndKeepsTheSession) {
    const auto session = gateway.OpenSession();
    const std::string call = R"({"method":"Call","args":["session",1],"session":)" + Quoted(session) + "}";
    Call(call);
    gateway.Post("/host/settle", "{}");
    // Reads one event and hangs up, although the stream had sent two.
    auto events = gateway.ReadEvents(session, 1);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NE(events[0].find("\"seq\":1,"), std::string::npos);
    Call(call);
    gateway.Post("/host/settle", "{}");
    // Resumed after the last event it got, the reader misses nothing.
    events = gateway.ReadEvents(session, 3, nullptr, "1");
    ASSERT_EQ(events.size(), 3u);
    EXPECT_NE(events[0].find("\"seq\":2,\"interface\":\"gtest::Listener\",\"method\":\"Done\""), std::string::npos);
    EXPECT_NE(events[1].find("\"seq\":3,"), std::string::npos);
    EXPECT_NE(events[2].find("\"seq\":4,"), std::string::npos);
    // The broken stream may still have taken what came next; a resumed one
    // sends it again.
    Call(call);
    gateway.Post("/host/settle", "{}");
    events = gateway.ReadEvents(session, 1, nullptr, "4");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NE(events[0].find("\"seq\":5,"), std::string::npos);
}

TEST_F(GatewayProbe, AnEndedSessionDropsItsObjectsAndTheServerGoesOn) {
    const auto session = gateway.OpenSession();
    const std::string id = Quoted(session);
    // The probe keeps calling back an object that has gone: the calls are
    // dropped, and the probe goes on serving.
    EXPECT_EQ(gateway.Delete("/api/sessions/" + session).status, 200);
    EXPECT_EQ(gateway.Delete("/api/sessions/" + session).status, 404);
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"Call","args":["session",1],"session":)" + id + "}").status, 404);
    EXPECT_EQ(Call(R"({"method":"Count","args":[]})"), R"({"result":7,"out":[]})");
}

// Room for three of the probe's callback events, not four.
constexpr std::size_t kThreeEvents = 400;

// Has the probe call the session's callback object count times, then reads
// the session's stream: up to limit events, and how it ended.
std::vector<std::string> CalledBack(RunningGateway& gateway, const std::string& session, int count,
                                    std::size_t limit, std::string* end) {
    gateway.Post("/api/call", R"({"method":"Call","args":["session",)" + std::to_string(count) +
                                  R"(],"session":)" + Quoted(session) + "}");
    gateway.Post("/host/settle", "{}");
    return gateway.ReadEvents(session, limit, end);
}

TEST(GatewayProbeBound, AReaderPastTheBoundEndsItsSessionAndIsToldWhy) {
    ProbeFactories factories;
    ProbeActor probe;
    RunningGateway gateway(ProbeOptions(kThreeEvents));
    const auto session = gateway.OpenSession();
    const std::string id = Quoted(session);
    std::string end;
    const auto events = CalledBack(gateway, session, 5, 10, &end);
    EXPECT_EQ(events.size(), 3u) << "what came before the bound is still delivered";
    EXPECT_EQ(end, R"({"reason":"overflow: more than 400 bytes of events waited for a reader"})");
    // Gone (404) once the stream has closed it; ended (410) if asked first.
    const int status = gateway.Post("/api/call", R"({"method":"Count","args":[],"session":)" + id + "}").status;
    EXPECT_TRUE(status == 404 || status == 410) << status;
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"Count","args":[],"session":)" + id + "}").status, 404);
}

// What waits for a reader and what is kept once sent have bounds of their
// own: a burst of events far past what is kept for replay (a large tree's
// registration) still reaches a reader whole, and the session goes on.
TEST(GatewayProbeBound, EventsPastWhatIsKeptStillWaitWholeForTheirReader) {
    ProbeFactories factories;
    ProbeActor probe;
    auto options = ProbeOptions(10 * kThreeEvents);
    options.sessions.keptBytes = kThreeEvents;
    RunningGateway gateway(options);
    const auto session = gateway.OpenSession();
    std::string end;
    const auto events = CalledBack(gateway, session, 12, 12, &end);
    ASSERT_EQ(events.size(), 12u);
    EXPECT_EQ(end, "") << "the session goes on";
    // Read again from the start, only the newest of them are still there.
    const auto again = gateway.ReadStream("/api/events?session=" + session + "&since=0", 12, nullptr, events.back());
    ASSERT_FALSE(again.empty());
    EXPECT_LE(again.size(), 3u);
    EXPECT_EQ(again.back(), events.back());
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"Count","args":[],"session":)" + Quoted(session) + "}").status,
              200);
}

TEST_F(GatewayProbe, RawMessagesGoOutExactlyAsWritten) {
    auto reply = gateway.Post("/api/raw", R"({"table":0,"tag":0,"values":[{"type":"S","value":null},)"
                                          R"({"type":"l","value":5}],"reply":true})");
    ASSERT_EQ(reply.status, 200) << reply.text;
    EXPECT_EQ(reply.text, R"({"values":[{"type":"S","value":null}]})");
    ASSERT_EQ(LastValues().size(), 2u);
    reply = gateway.Post("/api/raw", R"({"table":0,"tag":4,"values":[],"reply":true})");
    EXPECT_EQ(reply.text, R"({"values":[{"type":"ul","value":7}]})");
    reply = gateway.Post("/api/raw", R"({"table":0,"tag":9,"values":[],"reply":true})");
    EXPECT_EQ(reply.status, 502);
    EXPECT_STREQ(reply.body["error"].GetString(), "bad-tag");
    // Without the reply mark the sender does not wait and learns nothing.
    reply = gateway.Post("/api/raw", R"({"table":0,"tag":9,"values":[],"reply":false})");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.text, R"({"values":[]})");
}

TEST_F(GatewayProbe, MalformedRequestsGetAClearFourHundred) {
    const std::vector<std::pair<std::string, std::string>> requests = {
        {"/api/call", "{\"method\":"},
        {"/api/call", "[1,2]"},
        {"/api/call", "{\"args\":[]}"},
        {"/api/call", R"({"method":"Count","args":[],"session":99})"},  // ids are strings
        {"/api/raw", R"({"table":70000,"tag":0})"},
        {"/api/raw", R"({"table":0,"tag":0,"values":[{"type":"Q","value":1}]})"},
        {"/api/raw", R"({"table":0,"tag":0,"values":[{"type":"l"}]})"},
        {"/host/control", R"({"action":"noSuchAction"})"},
        {"/host/control", R"({"action":"setVisibilityOverride","idpath":"a"})"},
    };
    for (const auto& [path, body] : requests) {
        auto reply = gateway.Post(path, body);
        EXPECT_EQ(reply.status, 400) << path << " " << body << " -> " << reply.text;
        EXPECT_TRUE(reply.body.IsObject() && reply.body["message"].IsString()) << reply.text;
    }
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"Count","args":[],"session":"99"})").status, 404);
    EXPECT_EQ(gateway.Get("/api/events?session=99").status, 404);
    EXPECT_EQ(gateway.Get("/api/events").status, 400);
    EXPECT_EQ(gateway.Get("/host/state?sections=nope").status, 400);
    EXPECT_EQ(gateway.Get("/host/traces?since=abc").status, 400);
    EXPECT_EQ(gateway.Get("/no/such/endpoint").status, 404);
    EXPECT_EQ(Call(R"({"method":"Count","args":[]})"), R"({"result":7,"out":[]})");
}

TEST(GatewayProbeBody, AnOversizedBodyIsRefusedWithAMessage) {
    ProbeFactories factories;
    ProbeActor probe;
    auto options = ProbeOptions();
    options.maxBody = 1024;
    RunningGateway gateway(options);
    auto reply = gateway.Post("/api/call", R"({"method":"Echo","args":[")" + std::string(4096, 'x') + "\"]}");
    EXPECT_EQ(reply.status, 413);
    EXPECT_TRUE(reply.body.IsObject() && reply.body.HasMember("message")) << reply.text;
    EXPECT_TRUE(probe.Messages().empty());
}

// A stop that comes before the serving loop has begun (Ctrl-C while the
// world is being built) is not lost: Serve then returns at once.
TEST(GatewayStop, AStopBeforeServingIsKept) {
    ProbeFactories factories;
    ProbeActor probe;
    devhost::gateway::Gateway gateway(ProbeOptions());
    ASSERT_GE(gateway.Bind(0), 0);
    gateway.Stop();
    auto served = std::async(std::launch::async, [&] { gateway.Serve(); });
    const bool returned = served.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    if (!returned) gateway.Stop();
    EXPECT_TRUE(returned);
}

}  // namespace
}  // namespace gtest_gateway
