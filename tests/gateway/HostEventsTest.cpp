// The host's changes as the gateway streams them at /host/events, with the
// plug-in loaded from its library on the sample world: what a page learns
// of the host without reading its state again, and how the stream refuses
// what it is not to serve.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <set>
#include <thread>

#include "GatewayTestSupport.h"
#include "PluginClient.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/WorldControl.h"

namespace gtest_gateway {
namespace {

class HostEventStream : public PluginGatewaySuite {
protected:
    // The gateway's events are numbered from its start; the host is quiet
    // before each test makes its changes.
    void SetUp() override { ASSERT_EQ(gateway.Post("/host/settle", "{}").status, 200); }
    void TearDown() override { gateway.Post("/host/control", R"({"action":"loadWorld","path":""})"); }

    void Control(const std::string& body) {
        auto reply = gateway.Post("/host/control", body);
        ASSERT_EQ(reply.status, 200) << body << " " << reply.text;
    }
    void Call(const std::string& body) {
        auto reply = gateway.Post("/api/call", body);
        ASSERT_EQ(reply.status, 200) << body << " " << reply.text;
        ASSERT_EQ(gateway.Post("/host/settle", "{}").status, 200);
    }

    // The events from the gateway's start up to the first that holds last.
    // The host may tell more than a test caused (the module answers some
    // changes with calls of its own), so tests look for theirs in order.
    std::vector<std::string> EventsUpTo(const std::string& last) {
        return gateway.ReadStream("/host/events?since=0", 100000, nullptr, last);
    }

    RunningGateway gateway{Options()};
};

// The first event from at that holds text, or "".
std::string Find(const std::vector<std::string>& events, const std::string& text, std::size_t* at = nullptr) {
    std::size_t from = at ? *at : 0;
    for (std::size_t i = from; i < events.size(); ++i)
        if (events[i].find(text) != std::string::npos) {
            if (at) *at = i + 1;
            return events[i];
        }
    return "";
}


TEST_F(HostEventStream, ViewsSelectionAndShapesComeAsNumberedEventsInOrder) {
    Control(R"({"action":"showInstance","scene":"Model","idpath":"drone/frame/arm_1","visible":false})");
    Control(R"({"action":"setSelection","scene":"Model","items":[{"contentType":"instance","fields":{"idpath":"drone/frame"}}]})");
    Control(R"({"action":"activateView","view":"Manual"})");
    Control(R"({"action":"activateView","view":"Main"})");
    const auto events = EventsUpTo(R"("view":"Main")");
    for (std::size_t i = 0; i < events.size(); ++i)
        EXPECT_EQ(events[i].rfind(R"({"seq":)" + std::to_string(i + 1) + ",", 0), 0u) << events[i];
    std::size_t at = 0;
    EXPECT_NE(Find(events, R"("kind":"shapes","scene":"Model","shapes":[{"id":)", &at)
                  .find(R"("idpath":"drone/frame/arm_1","visible":false,"color":"0x000000ff","colorCalls":0,"painted":false}]})"),
              std::string::npos);
    EXPECT_NE(Find(events, R"("selection":[{"representation":true,"contentType":"instance","fields":{"idpath":"drone/frame"}}]})", &at), "");
    EXPECT_NE(Find(events, R"("kind":"activeView","view":"Manual"})", &at), "");
    ASSERT_NE(Find(events, R"("kind":"activeView","view":"Main"})", &at), "");
    EXPECT_EQ(at, events.size());

    // Resumed after an event, the stream sends what followed it.
    const auto resumed = gateway.ReadStream("/host/events?since=1", 1);
    ASSERT_EQ(resumed.size(), 1u);
    EXPECT_EQ(resumed[0], events[1]);
}

// A module call's effects on the host, which the call itself only starts:
// a painted branch comes as one event, and a set that fails to apply says
// so with its status, as the plug-in link is told.
TEST_F(HostEventStream, ACallsEffectsAndAFailedSetAreTold) {
    Call(R"({"method":"SetInstancesColor","args":[["drone/frame"],true,"0x00ff00ff"]})");
    Call(R"({"method":"LoadAnnotationSet","args":["Inspection marks"]})");
    const auto events = EventsUpTo(R"("kind":"pluginLink")");
    std::size_t at = 0;
    // The branch's shape instances, in as few events as the burst took.
    std::set<std::string> painted;
    for (std::string text; !(text = Find(events, R"("kind":"shapes")", &at)).empty();) {
        rapidjson::Document event;
        event.Parse(text.c_str());
        ASSERT_TRUE(event.IsObject()) << text;
        for (const auto& shape : event["shapes"].GetArray()) {
            EXPECT_STREQ(shape["color"].GetString(), "0x00ff00ff");
            EXPECT_TRUE(shape["painted"].GetBool());
            painted.insert(shape["idpath"].GetString());
        }
    }
    EXPECT_GT(painted.size(), 1u);
    EXPECT_TRUE(painted.count("drone/frame/arm_1"));
    at = 0;
    // The set's start and end may come as one event; the last tells its end.
    std::string applied;
    for (std::string next; !(next = Find(events, R"("kind":"appliedSet","set":{"scene":"Model","name":"Inspection marks",)", &at)).empty();)
        applied = next;
    EXPECT_NE(applied.find(R"("status":1,"index":0})"), std::string::npos) << applied;
    at = 0;
    EXPECT_NE(Find(events, R"("kind":"pluginLink","call":{"method":"OnAnnotationsApplied","status":1,"success":false}})", &at), "");
}

TEST_F(HostEventStream, StructureChangesAndANewWorldAreTold) {
    const devhost::InstanceNode* arm = devhost::FindInstanceAt("drone/frame/arm_1");
    ASSERT_TRUE(arm);
    const std::string id = std::to_string(arm->uid);
    Control(R"({"action":"changeInstances","remove":["drone/frame/arm_1"]})");
    Control(R"({"action":"loadWorld","path":""})");
    const auto events = EventsUpTo(R"("kind":"world")");
    std::size_t at = 0;
    // Only the scenes that showed the instance are told.
    EXPECT_NE(Find(events, R"("kind":"shapesRemoved","scene":"Model","ids":[)" + id + "]}", &at), "");
    EXPECT_EQ(Find(events, R"("kind":"shapesRemoved")", &at), "");
    EXPECT_EQ(Find(events, R"("kind":"world")"), events.back());
}

// Refusals: a bad number, a number the host never gave (a page that
// outlived a program started anew), and more streams than the server has
// workers for; the gateway serves on after each.
TEST_F(HostEventStream, RefusesWhatItIsNotToServeAndServesOn) {
    for (const char* since : {"x", "-1", "99999999999999999999999", "1e3"}) {
        auto reply = gateway.Get(std::string("/host/events?since=") + since);
        EXPECT_EQ(reply.status, 400) << since;
        EXPECT_STREQ(reply.body["error"].GetString(), "bad-request");
    }
    const auto resync = gateway.ReadStream("/host/events?since=1000", 1);
    ASSERT_EQ(resync.size(), 1u);
    EXPECT_EQ(resync[0], R"({"seq":0,"kind":"world","reason":"missed events"})");
    // The server lets go of a stream at its next write after the reader left.
    std::this_thread::sleep_for(std::chrono::milliseconds(600));

    // Sixteen readers that stay; the seventeenth is refused, and served once
    // one of them has gone.
    std::vector<std::unique_ptr<httplib::Client>> clients;
    std::vector<std::thread> readers;
    std::atomic<int> opened{0};
    std::atomic<bool> stop{false};
    for (int i = 0; i < 16; ++i) {
        clients.push_back(std::make_unique<httplib::Client>("127.0.0.1", gateway.Port()));
        httplib::Client* client = clients.back().get();
        client->set_bearer_token_auth(gateway.Token().c_str());
        readers.emplace_back([client, &opened, &stop] {
            // The stream read above holds its place until the server's next
            // write finds it gone: a reader refused meanwhile asks again.
            for (int status = 503; status == 503 && !stop.load();) {
                bool counted = false;
                client->Get(
                    "/host/events",
                    [&](const httplib::Response& response) {
                        status = response.status;
                        return true;
                    },
                    [&](const char*, std::size_t) {
                        if (status != 200) return true;
                        if (!counted) ++opened;
                        counted = true;
                        return !stop.load();
                    });
                if (status == 503) std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
        });
    }
    for (int tries = 0; opened < 16 && tries < 500; ++tries) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(opened, 16) << "sixteen streams open";
    if (opened == 16) {  // else the next would be a stream, and would not end
        auto refused = gateway.Get("/host/events");
        EXPECT_EQ(refused.status, 503);
        EXPECT_STREQ(refused.body["error"].GetString(), "too-many-streams");
    }
    EXPECT_EQ(gateway.Get("/host/state?sections=activeView").text, R"({"activeView":"Main"})");
    stop = true;
    for (auto& reader : readers) reader.join();
    Control(R"({"action":"activateView","view":"Manual"})");
    // The server lets go of a stream at its next write after the reader left.
    std::vector<std::string> served;
    for (int tries = 0; served.empty() && tries < 100; ++tries) {
        served = gateway.ReadStream("/host/events?since=0", 1);
        if (served.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_EQ(served.size(), 1u);
    EXPECT_EQ(served[0], R"({"seq":1,"kind":"activeView","view":"Manual"})");
}

}  // namespace
}  // namespace gtest_gateway
