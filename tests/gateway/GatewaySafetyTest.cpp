// The gateway attacked as a web page or a stranger on the machine would
// attack it, over HTTP in front of the plug-in itself: each attempt is
// refused with its status, and the gateway serves on.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <thread>

#include "GatewayTestSupport.h"
#include "PluginClient.h"
#include "devhost/samples/SampleWorlds.h"

namespace gtest_gateway {
namespace {

using Headers = httplib::Headers;

class GatewaySafety : public PluginGatewaySuite {
protected:
    static devhost::gateway::GatewayOptions Options() {
        devhost::gateway::GatewayOptions options = PluginGatewaySuite::Options();
        options.token = "s3cret-token";
        options.maxBody = 1u << 20;
        options.maxStreams = 300;
        return options;
    }

    // A client of the gateway that sends only what a test gives it.
    httplib::Client Bare() const {
        httplib::Client client("127.0.0.1", gateway.Port());
        client.set_read_timeout(10, 0);
        return client;
    }
    Headers Authorized(Headers more = {}) const {
        more.emplace("Authorization", "Bearer " + gateway.Token());
        return more;
    }
    std::string Host() const { return "127.0.0.1:" + std::to_string(gateway.Port()); }

    // The error kind of a reply, "" when it has none.
    static std::string ErrorOf(const httplib::Result& result) {
        if (!result) return "no reply";
        rapidjson::Document body;
        body.Parse(result->body.c_str());
        return body.IsObject() && body.HasMember("error") && body["error"].IsString() ? body["error"].GetString() : "";
    }

    // The gateway still answers a call of its own client.
    void ExpectServing() {
        auto reply = gateway.Post("/api/call", R"({"method":"GetNumberOfAnnotationSets","args":[]})");
        EXPECT_EQ(reply.status, 200) << reply.text;
    }

    RunningGateway gateway{Options()};
};

// The plug-in loaded afresh, for a test whose tree observer must be the
// module's only one, and a gateway in front of it.
struct FreshModule {
    explicit FreshModule(devhost::gateway::GatewayOptions options = {}) : gateway(Fill(std::move(options), plugin)) {}
    static devhost::gateway::GatewayOptions Fill(devhost::gateway::GatewayOptions options,
                                                 const support::PluginClient& plugin) {
        options.actorName = plugin.ActorName().str();
        return options;
    }
    bool world = (devhost::LoadDefaultSampleWorld(), true);
    support::PluginClient plugin;
    RunningGateway gateway;
};

// --- who may call, and from where ---

TEST_F(GatewaySafety, AnotherSitesPageCannotDriveTheViewer) {
    httplib::Client client = Bare();
    const std::string paint = R"({"method":"SetInstancesColor","args":[["1"],true,"0xff0000ff"]})";
    // A "simple" request needs no preflight: text/plain, with the page's
    // token even, from another origin.
    auto reply = client.Post("/api/call", Headers{{"Origin", "http://evil.example"}, {"Authorization", "Bearer " + gateway.Token()}},
                             paint, "text/plain");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 403);
    EXPECT_EQ(ErrorOf(reply), "forbidden-origin");
    EXPECT_FALSE(reply->has_header("Access-Control-Allow-Origin"));
    // A form posted as text/plain carries no token at all.
    reply = client.Post("/host/control", Headers{{"Origin", "null"}}, R"({"action":"armFault"})", "text/plain");
    EXPECT_EQ(ErrorOf(reply), "forbidden-origin");
    // The preflight of a request that would need one is refused as well.
    reply = client.Options("/api/call", Headers{{"Origin", "http://evil.example"},
                                                {"Access-Control-Request-Method", "POST"}});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 403);
    EXPECT_FALSE(reply->has_header("Access-Control-Allow-Origin"));
    // The page's own origin is taken, under any of the loopback names.
    reply = client.Post("/api/call", Authorized({{"Origin", "http://" + Host()}}), paint, "application/json");
    EXPECT_EQ(reply->status, 200) << reply->body;
    // Same origin and token, but not JSON: never taken as a call.
    reply = client.Post("/api/call", Authorized(), paint, "text/plain");
    EXPECT_EQ(reply->status, 415);
    EXPECT_EQ(ErrorOf(reply), "unsupported-media-type");
    ExpectServing();
}

// No reply is compressed, whatever the client accepts: on loopback it only
// costs time (seconds for a script of a megabyte, with httplib's brotli).
TEST_F(GatewaySafety, NoReplyIsCompressed) {
    const std::string root = ::testing::TempDir() + "gateway-web-root";
    std::filesystem::create_directories(root);
    std::ofstream(root + "/big.js") << std::string(200000, 'x');
    devhost::gateway::GatewayOptions options = PluginGatewaySuite::Options();
    options.webRoot = root;
    RunningGateway served(options);
    httplib::Client client("127.0.0.1", served.Port());
    client.set_decompress(false);
    for (const char* path : {"/big.js", "/api/interfaces"}) {
        auto reply = client.Get(path, Headers{{"Accept-Encoding", "br, gzip, deflate"},
                                              {"Authorization", "Bearer " + served.Token()}});
        ASSERT_TRUE(reply) << path;
        EXPECT_EQ(reply->status, 200) << path;
        EXPECT_FALSE(reply->has_header("Content-Encoding")) << path;
    }
    std::filesystem::remove_all(root);
}

TEST_F(GatewaySafety, ARebindingPageNamingAnotherHostReadsNothing) {
    httplib::Client client = Bare();
    for (const std::string& host : {"evil.example:" + std::to_string(gateway.Port()), std::string("127.0.0.1"),
                                   std::string("127.0.0.1:1"), "localhost.evil.example:" + std::to_string(gateway.Port())}) {
        auto reply = client.Get("/host/state", Authorized({{"Host", host}}));
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, 403) << host;
        EXPECT_EQ(ErrorOf(reply), "forbidden-host");
        EXPECT_EQ(reply->body.find("scenes"), std::string::npos);
    }
    for (const char* name : {"localhost", "[::1]", "127.0.0.1"}) {
        auto reply = client.Get("/api/interfaces", Authorized({{"Host", name + (":" + std::to_string(gateway.Port()))}}));
        EXPECT_EQ(reply->status, 200) << name;
    }
}

TEST_F(GatewaySafety, TheTokenIsNeededAndOnlyInItsTwoPlaces) {
    httplib::Client client = Bare();
    EXPECT_EQ(ErrorOf(client.Get("/api/interfaces")), "unauthorized");
    EXPECT_EQ(client.Get("/host/state")->status, 401);
    EXPECT_EQ(client.Post("/api/sessions", "{}", "application/json")->status, 401);
    EXPECT_EQ(client.Get("/api/interfaces", Headers{{"Authorization", "Bearer wrong"}})->status, 401);
    EXPECT_EQ(client.Get("/api/interfaces", Headers{{"Authorization", "Bearer " + gateway.Token() + "x"}})->status, 401);
    // In the wrong place: a cookie, another header, the body, a Basic login.
    EXPECT_EQ(client.Get("/api/interfaces", Headers{{"Cookie", "token=" + gateway.Token()}})->status, 401);
    EXPECT_EQ(client.Get("/api/interfaces", Headers{{"X-Token", gateway.Token()}})->status, 401);
    EXPECT_EQ(client.Get("/api/interfaces", Headers{{"Authorization", gateway.Token()}})->status, 401);
    EXPECT_EQ(client.Post("/api/sessions", R"({"token":")" + gateway.Token() + "\"}", "application/json")->status, 401);
    // The two places it goes.
    EXPECT_EQ(client.Get("/api/interfaces", Authorized())->status, 200);
    EXPECT_EQ(client.Get(("/api/interfaces?token=" + gateway.Token()).c_str())->status, 200);
    // Static files need none, and every reply carries the hygiene headers.
    auto reply = client.Get("/nothing-here.js");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 404);
    EXPECT_EQ(reply->get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(reply->get_header_value("Cache-Control"), "no-store");
    EXPECT_NE(reply->get_header_value("Content-Security-Policy").find("frame-ancestors 'none'"), std::string::npos);
    // A NUL in the path would cut a served file's name.
    EXPECT_EQ(ErrorOf(client.Get("/index.html%00.js")), "bad-path");
    // What is quoted back of a request is UTF-8, as the reply says.
    reply = client.Get("/api/x%ff%c0", Authorized());
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 404);
    EXPECT_EQ(reply->body.find('\xff'), std::string::npos) << reply->body;
    reply = client.Get("/host/state?sections=%ff", Authorized());
    EXPECT_EQ(reply->status, 400);
    EXPECT_EQ(reply->body.find('\xff'), std::string::npos) << reply->body;
    ExpectServing();
}

// --- nothing brings it down ---

TEST_F(GatewaySafety, AMegabyteOfBracketsIsRefusedWithTheDepth) {
    for (const char* path : {"/api/call", "/api/raw", "/host/control"}) {
        auto reply = gateway.Post(path, std::string((1u << 20) - 1, '['));
        EXPECT_EQ(reply.status, 400) << path;
        ASSERT_TRUE(reply.body.IsObject()) << reply.text;
        EXPECT_STREQ(reply.body["error"].GetString(), "bad-json");
        EXPECT_NE(std::string(reply.body["message"].GetString()).find("64"), std::string::npos);
    }
    // Sixty-four levels are still taken.
    std::string deep = R"({"method":"GetNumberOfAnnotationSets","args":[],"x":)" + std::string(63, '[') +
                       std::string(63, ']') + "}";
    EXPECT_EQ(gateway.Post("/api/call", deep).status, 200);
    ExpectServing();
}

TEST_F(GatewaySafety, AChunkedBodyCountsAgainstTheLimit) {
    httplib::Client client = Bare();
    std::size_t sent = 0;
    const std::string chunk(1u << 16, ' ');
    auto reply = client.Post("/api/call", Authorized(),
                             [&](std::size_t, httplib::DataSink& sink) {
                                 if (sent >= (20u << 20)) {
                                     sink.done();
                                     return true;
                                 }
                                 sent += chunk.size();
                                 return sink.write(chunk.data(), chunk.size());
                             },
                             "application/json");
    if (reply) {
        EXPECT_EQ(reply->status, 413);
        EXPECT_EQ(ErrorOf(reply), "http-413");
    }
    EXPECT_LT(sent, 20u << 20) << "the gateway stopped reading at the limit";
    ExpectServing();
}

TEST_F(GatewaySafety, NamesAndStringsWithANulOrBadUtf8AreRefused) {
    const std::vector<std::string> bodies = {
        R"({"method":"GetNumberOfAnnotationSets\u0000junk","args":[]})",
        "{\"method\":\"GetNumberOfAnnotationSets\xff\",\"args\":[null]}",
        "{\"method\":\"GetAnnotationSetName\",\"args\":[0,null],\"x\xc0\xaf\":1}",
        R"({"method":"SetInstancesColor","args":[["1\u0000"],true,"0xff0000ff"]})",
    };
    for (const std::string& body : bodies) {
        auto reply = gateway.Post("/api/call", body);
        EXPECT_EQ(reply.status, 400);
        EXPECT_NE(reply.text.find("bad-values"), std::string::npos) << reply.text;
        EXPECT_EQ(reply.text.find('\xff'), std::string::npos) << "nothing invalid is echoed";
    }
    EXPECT_EQ(gateway.Post("/host/control", "{\"action\":\"activateView\",\"view\":\"\xed\xa0\x80\"}").status, 400);
    // A POST with nothing in its body is {}.
    EXPECT_EQ(gateway.Post("/api/sessions", "").status, 200);
    EXPECT_EQ(gateway.Post("/host/settle", "").status, 200);
}

TEST_F(GatewaySafety, ThreeHundredOpenStreamsLeaveCallsAnswered) {
    const std::string session = gateway.OpenSession();
    std::vector<std::unique_ptr<httplib::Client>> clients;
    std::vector<std::thread> readers;
    std::atomic<int> opened{0};
    constexpr int kStreams = 300;
    for (int i = 0; i < kStreams; ++i) {
        auto client = std::make_unique<httplib::Client>("127.0.0.1", gateway.Port());
        client->set_bearer_token_auth(gateway.Token().c_str());
        client->set_read_timeout(30, 0);
        httplib::Client* raw = client.get();
        clients.push_back(std::move(client));
        // Each reader holds its stream open until the gateway stops; every
        // stream after the first replaces the one before, so all but the
        // newest end at once unless they each have a session of their own.
        const std::string own = gateway.OpenSession();
        readers.emplace_back([raw, own, &opened] {
            bool first = true;
            raw->Get(("/api/events?session=" + own).c_str(), [&](const char*, std::size_t) {
                if (first) ++opened;
                first = false;
                return true;
            });
        });
    }
    // Wait (bounded) until the streams have all begun.
    for (int wait = 0; wait < 300 && opened < kStreams; ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_GE(opened.load(), kStreams);
    ExpectServing();
    auto reply = gateway.Get("/api/interfaces");
    EXPECT_EQ(reply.status, 200);
    // Past the cap, a stream is refused.
    httplib::Client client = Bare();
    auto refused = client.Get(("/api/events?session=" + session).c_str(), Authorized());
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 503);
    EXPECT_EQ(ErrorOf(refused), "too-many-streams");
    for (auto& client : clients) client->stop();
    for (auto& reader : readers) reader.join();
    ExpectServing();
}

TEST(GatewaySessionBound, AnUnreadSessionStaysWithinItsByteBound) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    // A sanitizer's allocator and shadow memory make the resident size say
    // nothing of the gateway's; the bound itself is tested on the probe.
    GTEST_SKIP() << "resident size under a sanitizer";
#endif
    devhost::gateway::GatewayOptions options;
    options.sessions.eventBytes = 16u << 20;
    FreshModule fresh(options);
    RunningGateway& gateway = fresh.gateway;
    // A session whose events are never read, and a tree of 20,000 instances
    // registered again and again: the events stop at the bound, the session
    // ends, and the memory they took is let go.
    ASSERT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","synthetic":20000})").status, 200);
    const auto resident = [] {
        std::ifstream statm("/proc/self/statm");
        std::size_t size = 0, pages = 0;
        statm >> size >> pages;
        return pages * 4096;
    };
    const std::string session = Quoted(gateway.OpenSession());
    const std::size_t before = resident();
    const std::string call = R"({"method":"RegisterTreeObserver","args":["session"],"session":)" + session + "}";
    const std::string drop = R"({"method":"UnRegisterTreeObserver","args":["session"],"session":)" + session + "}";
    std::string refusal;
    // Each mapping is published whole before the observer goes again.
    for (int i = 0; i < 400 && refusal.empty(); ++i) {
        for (const std::string* each : {&call, &drop}) {
            auto reply = gateway.Post("/api/call", *each);
            if (reply.status == 410 && refusal.empty()) refusal = reply.text;
            gateway.Post("/host/settle", "{}");
        }
    }
    gateway.Post("/host/settle", "{}");
    EXPECT_NE(refusal.find("overflow"), std::string::npos) << "the session ended at its bound: " << refusal;
    const std::size_t after = resident();
    // Without a bound the same run took some 900 MB.
    EXPECT_LT(after, before + (112u << 20)) << "grew by " << ((after - before) >> 20) << " MB";
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

// --- sessions are private ---

TEST(GatewaySessionIds, AreRandomAndStreamsTheirOwn) {
    FreshModule fresh;
    RunningGateway& gateway = fresh.gateway;
    const std::string first = gateway.OpenSession(), second = gateway.OpenSession();
    EXPECT_TRUE(std::regex_match(first, std::regex("[0-9a-f]{32}"))) << first;
    EXPECT_NE(first, second);
    EXPECT_EQ(gateway.Get("/api/events?session=1").status, 404);
    // A Last-Event-ID beyond the last event takes nothing over and drops nothing.
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"RegisterTreeObserver","args":["session"],"session":)" +
                                            Quoted(first) + "}")
                  .status,
              200);
    gateway.Post("/host/settle", "{}");
    httplib::Client client("127.0.0.1", gateway.Port());
    auto reply = client.Get(("/api/events?session=" + first).c_str(),
                            Headers{{"Authorization", "Bearer " + gateway.Token()}, {"Last-Event-ID", "999999"}});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 400);
    const auto events = gateway.ReadEvents(first, 3);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_NE(events[0].find(R"("seq":1,)"), std::string::npos);
}

TEST_F(GatewaySafety, RawMessagesNameOnlyTheSessionsOwnObjects) {
    const std::string mine = gateway.OpenSession(), theirs = gateway.OpenSession();
    // The object number of the other session's tree observer, as the module
    // would give it back.
    auto reply = gateway.Post("/api/call", R"({"method":"RegisterTreeObserver","args":["session"],"session":)" +
                                               Quoted(theirs) + "}");
    ASSERT_EQ(reply.status, 200);
    auto interfaces = gateway.Get("/api/interfaces");
    int unregister = -1, paint = -1;
    for (const auto& method : interfaces.body["webapi::WebApiModule"].GetArray()) {
        const std::string signature = method["signature"].GetString();
        if (signature.rfind("UnRegisterTreeObserver", 0) == 0) unregister = method["id"].GetInt();
        if (signature.rfind("SetInstancesColor", 0) == 0) paint = method["id"].GetInt();
    }
    ASSERT_GE(unregister, 0);
    // Object numbers are small and handed out in order: of the first 64,
    // only the session's own two callback objects are taken.
    int taken = 0;
    for (unsigned long long object = 1; object < 64; ++object) {
        reply = gateway.Post("/api/raw", R"({"table":0,"tag":)" + std::to_string(unregister) +
                                             R"(,"values":[{"type":"R","value":)" + std::to_string(object) +
                                             R"(}],"session":)" + Quoted(mine) + "}");
        if (reply.status == 200) {
            ++taken;
            continue;
        }
        EXPECT_EQ(reply.status, 400) << object;
        EXPECT_NE(reply.text.find("not one of the session's own"), std::string::npos) << reply.text;
    }
    EXPECT_LE(taken, 2);
    EXPECT_EQ(gateway.Post("/api/raw", R"({"table":0,"tag":)" + std::to_string(unregister) +
                                           R"(,"values":[{"type":"R","value":null}],"session":)" + Quoted(mine) + "}")
                  .status,
              200);
    // A sequence count that the values cannot back has its own kind.
    ASSERT_GE(paint, 0);
    reply = gateway.Post("/api/raw", R"({"table":0,"tag":)" + std::to_string(paint) +
                                         R"(,"values":[{"type":"ul","value":5},{"type":"S","value":"1"},)"
                                         R"({"type":"b","value":true},{"type":"S","value":"0xff0000ff"}]})");
    EXPECT_STREQ(reply.body["error"].GetString(), "bad-count") << reply.text;
}

TEST(GatewaySessionIdle, ASessionUnusedPastItsTimeEnds) {
    devhost::gateway::GatewayOptions options;
    options.sessions.idle = std::chrono::milliseconds(200);
    FreshModule fresh(options);
    RunningGateway& gateway = fresh.gateway;
    const std::string session = gateway.OpenSession();
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    auto reply = gateway.Post("/api/call", R"({"method":"GetNumberOfAnnotationSets","args":[],"session":)" +
                                               Quoted(session) + "}");
    EXPECT_EQ(reply.status, 410) << reply.text;
    EXPECT_EQ(gateway.Get("/api/events?session=" + session).status, 410);
}

TEST(GatewaySessionIdle, ASessionUnusedEndsWithNoRequestToEndIt) {
    devhost::gateway::GatewayOptions options;
    options.sessions.idle = std::chrono::milliseconds(100);
    FreshModule fresh(options);
    RunningGateway& gateway = fresh.gateway;
    gateway.OpenSession();
    EXPECT_EQ(fresh.gateway.Sessions(), 1u);
    // The listener looks at least once a second while no connection comes.
    std::size_t left = 1;
    for (int wait = 0; wait < 50 && left > 0; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        left = fresh.gateway.Sessions();
    }
    EXPECT_EQ(left, 0u);
}

// --- the host's control ---

TEST_F(GatewaySafety, LoadWorldReadsOnlyTheWorldFoldersAndTellsNothingElse) {
    const std::string outside = gateway.Post("/host/control", R"({"action":"loadWorld","path":"/etc/passwd"})").text;
    const std::string missing =
        gateway.Post("/host/control", R"({"action":"loadWorld","path":"/no/such/world.json"})").text;
    const std::string climbing =
        gateway.Post("/host/control", R"({"action":"loadWorld","path":"../../../../../../etc/hostname"})").text;
    EXPECT_NE(outside.find("bad-control"), std::string::npos) << outside;
    EXPECT_EQ(outside, missing);
    EXPECT_EQ(outside, climbing);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","synthetic":5000001})").status, 400);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":"default/world.json"})").status, 200);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

}  // namespace
}  // namespace gtest_gateway
