// The gateway in front of the plug-in itself, loaded as the viewer loads it,
// on the sample world: the module's three interfaces, its refusals of bad
// messages, the trace and the host's state and control.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>

#include "GatewayTestSupport.h"
#include "PluginClient.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"

namespace gtest_gateway {
namespace {

class GatewayModule : public PluginGatewaySuite {
protected:
    RunningGateway gateway{Options()};
};


TEST_F(GatewayModule, ListsTheModulesThreeInterfacesFromItsFactories) {
    auto reply = gateway.Get("/api/interfaces");
    ASSERT_EQ(reply.status, 200);
    const auto& body = reply.body;
    ASSERT_TRUE(body.IsObject());
    EXPECT_EQ(body.MemberCount(), 3u);
    const auto& module = body["webapi::WebApiModule"];
    ASSERT_EQ(module.Size(), 30u);
    EXPECT_STREQ(module[0]["signature"].GetString(), "AddAnnotationLabel__IS__Id__Id__Id");
    EXPECT_EQ(module[0]["id"].GetInt(), 6);
    EXPECT_STREQ(module[29]["signature"].GetString(), "ZoomToSelected__Il");
    EXPECT_EQ(module[29]["id"].GetInt(), 11);
    EXPECT_EQ(module[29]["index"].GetInt(), 29);
    EXPECT_NE(reply.text.find("\"webapi::TreeObserver\":["
                              "{\"index\":0,\"signature\":\"OnTreeMappingBegin\",\"id\":0},"
                              "{\"index\":1,\"signature\":\"OnTreeMappingEnd\",\"id\":2},"
                              "{\"index\":2,\"signature\":\"OnTreeMapping__IS\",\"id\":1},"
                              "{\"index\":3,\"signature\":\"OnTreeUpdateBegin\",\"id\":3},"
                              "{\"index\":4,\"signature\":\"OnTreeUpdateEnd\",\"id\":5},"
                              "{\"index\":5,\"signature\":\"OnTreeUpdate__IS\",\"id\":4}]"),
              std::string::npos)
        << reply.text;
    EXPECT_NE(reply.text.find("\"webapi::ViewablesRequest\":["
                              "{\"index\":0,\"signature\":\"EndViewablesResult__Il\",\"id\":2},"
                              "{\"index\":1,\"signature\":\"StartViewablesResult__Il\",\"id\":0},"
                              "{\"index\":2,\"signature\":\"ViewablesResult__IS__Il\",\"id\":1}]"),
              std::string::npos)
        << reply.text;
}

TEST_F(GatewayModule, BadTagAndBadTableComeBackAsTheirFailuresWithTheModulesTrace) {
    const auto before = gateway.Get("/host/traces").body["last"].GetUint64();
    auto reply = gateway.Post("/api/raw", R"({"table":0,"tag":30,"values":[],"reply":true})");
    EXPECT_EQ(reply.status, 502);
    EXPECT_STREQ(reply.body["error"].GetString(), "bad-tag");
    reply = gateway.Post("/api/raw", R"({"table":1,"tag":0,"values":[],"reply":true})");
    EXPECT_EQ(reply.status, 502);
    EXPECT_STREQ(reply.body["error"].GetString(), "bad-table");
    // A valid tag with a value of the wrong type is refused in the words of a bad tag.
    reply = gateway.Post("/api/raw", R"({"table":0,"tag":2,"values":[{"type":"d","value":1}],"reply":true})");
    EXPECT_STREQ(reply.body["error"].GetString(), "bad-tag");

    auto traces = gateway.Get("/host/traces?since=" + std::to_string(before));
    ASSERT_EQ(traces.status, 200);
    const auto& entries = traces.body["entries"];
    ASSERT_EQ(entries.Size(), 3u) << traces.text;
    EXPECT_EQ(entries[0]["seq"].GetUint64(), before + 1);
    EXPECT_STREQ(entries[0]["names"][0].GetString(), "<generated code>");
    EXPECT_STREQ(entries[0]["names"][1].GetString(), "WebApiModule");
    EXPECT_EQ(entries[0]["type"].GetInt(), 3);
    EXPECT_STREQ(entries[0]["text"].GetString(),
                 "Unexpected tag offset 30for interface \"webapi::WebApiModuleLocalImpl\".\n");
    EXPECT_STREQ(entries[1]["text"].GetString(),
                 "Unexpected method table 1for interface \"webapi::WebApiModuleLocalImpl\".\n");
    EXPECT_STREQ(entries[2]["text"].GetString(),
                 "Unexpected tag offset 2for interface \"webapi::WebApiModuleLocalImpl\".\n");
    // The module goes on serving.
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"GetNumberOfAnnotationSets","args":[]})").status, 200);
}

TEST_F(GatewayModule, CallsByNameOrSignatureWithAnOutParameter) {
    auto reply = gateway.Post("/api/call", R"({"method":"GetAllModelAnnotations__OS","args":[null]})");
    ASSERT_EQ(reply.status, 200) << reply.text;
    EXPECT_TRUE(reply.body["out"].IsArray());
    EXPECT_EQ(reply.body["out"].Size(), 1u);
    EXPECT_FALSE(reply.body.HasMember("result"));
    reply = gateway.Post("/api/call", R"({"method":"GetNumberOfAnnotationSets","args":[]})");
    EXPECT_TRUE(reply.body["result"].IsUint()) << reply.text;
    reply = gateway.Post("/api/call", R"({"method":"SetInstancesColor","args":[["drone/frame"],true,"0xff0000ff"]})");
    EXPECT_EQ(reply.text, R"({"out":[]})");
}

TEST_F(GatewayModule, StateShowsTheHostAndControlChangesIt) {
    auto state = gateway.Get("/host/state");
    ASSERT_EQ(state.status, 200) << gateway.Get("/host/state?sections=scenes").text;
    for (const char* section :
         {"activeView", "views", "scenes", "markups", "moduleCalls", "progress", "appliedSets", "crossSelection",
          "pending"})
        EXPECT_TRUE(state.body.HasMember(section)) << section;
    const std::string active = state.body["activeView"].GetString();

    // Hiding a shape instance on the host side shows in the scene's record.
    auto reply = gateway.Post("/host/control",
                              R"({"action":"showInstance","scene":"Model","idpath":"drone/frame/arm_1","visible":false})");
    ASSERT_EQ(reply.status, 200) << reply.text;
    state = gateway.Get("/host/state?sections=scenes");
    bool found = false;
    for (const auto& scene : state.body["scenes"].GetArray()) {
        if (std::string(scene["name"].GetString()) != "Model") continue;
        for (const auto& shape : scene["shapes"].GetArray()) {
            if (std::string(shape["idpath"].GetString()) != "drone/frame/arm_1") continue;
            found = true;
            EXPECT_FALSE(shape["visible"].GetBool());
        }
    }
    EXPECT_TRUE(found) << gateway.Get("/host/state?sections=scenes").text;
    EXPECT_TRUE(devhost::ShowInstance("Model", "drone/frame/arm_1", true));

    reply = gateway.Post("/host/control", R"({"action":"activateView","view":"no such view"})");
    EXPECT_EQ(reply.status, 400);
    reply = gateway.Post("/host/control", R"({"action":"activateView","view":""})");
    EXPECT_EQ(reply.status, 200) << reply.text;
    EXPECT_TRUE(gateway.Get("/host/state?sections=activeView").body["activeView"].IsNull());
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"activateView","view":")" + active + "\"}").status, 200);
    EXPECT_EQ(gateway.Get("/host/state?sections=activeView").body["activeView"].GetString(), active);
    EXPECT_EQ(gateway.Post("/host/settle", "").status, 200);
}

// Tree listeners of the current world hear each change of its structure.
class TreeChanges {
public:
    TreeChanges() : world_(devhost::CurrentWorld()) {
        id_ = world_->Tree().AddListener([this](const devhost::TreeChange& change) {
            std::lock_guard<std::mutex> lock(mutex_);
            sizes_.emplace_back(change.removed.size(), change.added.size());
        });
    }
    ~TreeChanges() { world_->Tree().RemoveListener(id_); }
    // Removed and added instances, per change heard.
    std::vector<std::pair<std::size_t, std::size_t>> Sizes() {
        std::lock_guard<std::mutex> lock(mutex_);
        return sizes_;
    }

private:
    du::SmartPtr<devhost::WorldModel> world_;
    int id_ = 0;
    std::mutex mutex_;
    std::vector<std::pair<std::size_t, std::size_t>> sizes_;
};

TEST_F(GatewayModule, SeveralInstancesChangeInOneTreeChangeOrNotAtAll) {
    std::vector<std::pair<std::size_t, std::size_t>> heard;
    {
        TreeChanges changes;
        auto reply = gateway.Post("/host/control", R"({"action":"changeInstances",
            "remove":["drone/propulsion/motor_1","drone/landing_gear"],
            "add":[{"parent":"drone","name":"cargo"},{"parent":"drone/cargo","name":"box"}]})");
        ASSERT_EQ(reply.status, 200) << reply.text;
        EXPECT_EQ(reply.body["done"].GetString(), std::string("changeInstances"));
        ASSERT_EQ(reply.body["ids"].Size(), 2u);
        const devhost::InstanceNode* box = devhost::FindInstanceAt("drone/cargo/box");
        ASSERT_TRUE(box);
        EXPECT_EQ(reply.body["ids"][1].GetString(), std::to_string(box->uid));
        EXPECT_FALSE(devhost::FindInstanceAt("drone/propulsion/motor_1"));

        // A box under a branch that the same change removes fails the whole change.
        reply = gateway.Post("/host/control", R"({"action":"changeInstances","remove":["drone/cargo"],
            "add":[{"parent":"drone","name":"crate"},{"parent":"drone/cargo/box","name":"lid"}]})");
        EXPECT_EQ(reply.status, 400);
        EXPECT_EQ(reply.text, R"({"error":"bad-control","message":"changeInstances: cannot add \"lid\" under \"drone/cargo/box\""})");
        reply = gateway.Post("/host/control", R"({"action":"changeInstances","remove":["drone/gone"]})");
        EXPECT_EQ(reply.text, R"({"error":"bad-control","message":"changeInstances: no instance \"drone/gone\""})");
        reply = gateway.Post("/host/control", R"({"action":"changeInstances","add":[{"parent":"drone"}]})");
        EXPECT_EQ(reply.text, R"({"error":"bad-control","message":"changeInstances: \"name\" is to be a string"})");
        EXPECT_FALSE(devhost::FindInstanceAt("drone/crate"));
        EXPECT_TRUE(devhost::FindInstanceAt("drone/cargo/box"));
        heard = changes.Sizes();
    }
    // motor_1 goes with its stator and rotor.
    EXPECT_EQ(heard, (std::vector<std::pair<std::size_t, std::size_t>>{{4, 2}}));
    EXPECT_EQ(gateway.Post("/host/settle", "").status, 200);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

TEST_F(GatewayModule, HeldAnnotationSetAppliesAreReleasedWithAStatus) {
    auto reply = gateway.Post("/host/control", R"({"action":"loadWorld","world":{
        "structure":[{"name":"car","children":[{"name":"body"},{"name":"wheel"}]}],
        "scenes":[{"name":"Model","shapes":["car","car/body"],"views":[{"name":"v","kind":"shape"}]}],
        "activeView":"v",
        "annotationSets":[{"name":"Steps","held":true},{"name":"Marks","held":true,"shapes":["car/wheel"]}]}})");
    ASSERT_EQ(reply.status, 200) << reply.text;
    for (const char* set : {R"(["Steps"])", R"(["Marks"])"})
        ASSERT_EQ(gateway.Post("/api/call", std::string(R"({"method":"LoadAnnotationSet","args":)") + set + "}").status,
                  200);
    ASSERT_EQ(gateway.Post("/host/settle", "").status, 200);
    EXPECT_EQ(gateway.Get("/host/state?sections=pending").text,
              R"({"pending":{"expansions":[],"fetches":[],"applies":["Steps","Marks"]}})");

    reply = gateway.Post("/host/control", R"({"action":"releaseApply","index":0,"status":2})");
    EXPECT_EQ(reply.text, R"({"done":"releaseApply"})");
    reply = gateway.Post("/host/control", R"({"action":"releaseApply","index":0})");
    EXPECT_EQ(reply.text, R"({"error":"bad-control","message":"releaseApply: no held apply 0"})");
    reply = gateway.Post("/host/control", R"({"action":"releaseApply","index":-1})");
    EXPECT_EQ(reply.status, 400);
    reply = gateway.Post("/host/control", R"({"action":"releaseApply","index":1})");
    EXPECT_EQ(reply.status, 200) << reply.text;
    ASSERT_EQ(gateway.Post("/host/settle", "").status, 200);

    auto state = gateway.Get("/host/state?sections=appliedSets,pending");
    ASSERT_EQ(state.body["appliedSets"].Size(), 2u);
    EXPECT_EQ(state.body["appliedSets"][0]["status"].GetInt(), 2);
    EXPECT_EQ(state.body["appliedSets"][1]["status"].GetInt(), 0);
    EXPECT_EQ(state.body["pending"]["applies"].Size(), 0u);
    EXPECT_TRUE(devhost::ShapeOf("Marks", "car/wheel").present) << "status 0 shows the set";
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

// What a conformance check of the host needs: any visibility state forced
// and the rule back, the plug-in link's record, the observer counts, and a
// world without a tree whose scenes stay.
TEST_F(GatewayModule, ControlForcesAnyStateAndStateShowsWhatTheHostWasTold) {
    for (const char* state : {"0", "12", "-3", "\"rule\""}) {
        auto reply = gateway.Post("/host/control", std::string(R"({"action":"setVisibilityOverride",)") +
                                                       R"("idpath":"drone/frame/arm_1","state":)" + state + "}");
        EXPECT_EQ(reply.status, 200) << state << " -> " << reply.text;
    }
    EXPECT_EQ(gateway.Post("/host/control",
                           R"({"action":"setVisibilityOverride","idpath":"drone/frame/arm_1","state":"x"})")
                  .status,
              400);

    auto state = gateway.Get("/host/state?sections=pluginLink,scenes,views");
    ASSERT_EQ(state.status, 200) << state.text;
    EXPECT_TRUE(state.body["pluginLink"]["OnAnnotationsApplied"].IsArray());
    EXPECT_TRUE(state.body["pluginLink"]["OnSelectionChanged"].IsArray());
    ASSERT_GT(state.body["scenes"].Size(), 0u);
    for (const auto& scene : state.body["scenes"].GetArray()) {
        EXPECT_TRUE(scene["selectionObservers"].IsUint64());
        for (const auto& label : scene["labels"].GetArray())
            for (const auto& row : label["rows"].GetArray())
                EXPECT_TRUE(row["kind"].IsInt() && row["text"].IsString());
    }
    for (const auto& view : state.body["views"].GetArray())
        EXPECT_TRUE(view["viewerObservers"].IsUint() && view["workflowObservers"].IsUint());

    const auto scenes = state.body["scenes"].Size();
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"useWorldWithoutTree"})").status, 200);
    EXPECT_EQ(gateway.Get("/host/state?sections=scenes").body["scenes"].Size(), scenes);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

// A tree document of megabytes leaves the stream as a write of its own; it
// comes whole, between its neighbours, and a stream resumed before it sends
// it again.
TEST_F(GatewayModule, AMappingOfMegabytesStreamsWholeAndAgainOnResume) {
    ASSERT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","synthetic":30000})").status, 200);
    const std::string session = gateway.OpenSession();
    const std::string observer = R"("args":["session"],"session":)" + Quoted(session) + "}";
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"RegisterTreeObserver",)" + observer).status, 200);
    // The stream waits for the events, however slow the build.
    const auto events = gateway.ReadEvents(session, 3);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_NE(events[0].find(R"("seq":1,)"), std::string::npos);
    EXPECT_NE(events[2].find(R"("seq":3,"interface":"webapi::TreeObserver","method":"OnTreeMappingEnd")"),
              std::string::npos);
    rapidjson::Document event;
    event.Parse(events[1].c_str(), events[1].size());
    ASSERT_FALSE(event.HasParseError());
    EXPECT_EQ(std::string(event["method"].GetString()), "OnTreeMapping");
    const rapidjson::Value& text = event["args"][0];
    EXPECT_GT(text.GetStringLength(), 1u << 20);
    rapidjson::Document mapping;
    mapping.Parse(text.GetString(), text.GetStringLength());
    ASSERT_FALSE(mapping.HasParseError());
    EXPECT_EQ(mapping["treeMapping"].Size(), 30000u);

    const auto again = gateway.ReadEvents(session, 2, nullptr, "1");
    ASSERT_EQ(again.size(), 2u);
    EXPECT_EQ(again[0], events[1]);
    EXPECT_EQ(again[1], events[2]);
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"UnRegisterTreeObserver",)" + observer).status, 200);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

// A session that keeps the state query's answers apart reads them on a
// stream of their own, numbered among the session's events, while their
// opening and closing stay on the main stream; the answers stream resumes
// by itself. A session that did not ask gets everything on one stream.
TEST_F(GatewayModule, TheStateQuerysAnswersHaveAStreamOfTheirOwnWhenAskedFor) {
    ASSERT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","synthetic":30})").status, 200);
    EXPECT_EQ(gateway.Post("/api/sessions", R"({"answerStream":"yes"})").status, 400);
    const auto opened = gateway.Post("/api/sessions", R"({"answerStream":true})");
    ASSERT_EQ(opened.status, 200);
    const std::string session = opened.body["session"].GetString();
    EXPECT_EQ(gateway.Get("/api/events?session=" + session + "&lane=other").status, 400);
    const std::string observer = R"("args":["session"],"session":)" + Quoted(session) + "}";
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"RegisterTreeObserver",)" + observer).status, 200);
    const auto registration = gateway.ReadStream("/api/events?session=" + session, 1000, nullptr, "OnTreeUpdateEnd");
    ASSERT_GE(registration.size(), 6u);
    const std::size_t idAt = registration[1].find(R"(\"id\":\")");
    ASSERT_NE(idAt, std::string::npos);
    const std::string id = registration[1].substr(idAt + 9, registration[1].find('\\', idAt + 9) - idAt - 9);

    const std::string query = R"({\"nodes\":[\")" + id + R"(\"],\"depth\":0})";
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"SelectTreeNodes","args":[")" + query + R"("],"session":)" +
                                            Quoted(session) + "}")
                  .status,
              200);
    const std::size_t begin = registration.size() + 1;
    const auto main = gateway.ReadEvents(session, 2, nullptr, std::to_string(begin - 1));
    ASSERT_EQ(main.size(), 2u);
    EXPECT_EQ(main[0].find(R"({"seq":)" + std::to_string(begin) + R"(,"interface":"webapi::TreeObserver","method":"OnTreeUpdateBegin")"), 0u);
    EXPECT_EQ(main[1].find(R"({"seq":)" + std::to_string(begin + 2) + R"(,"interface":"webapi::TreeObserver","method":"OnTreeUpdateEnd")"), 0u);
    const std::string answer = R"({"seq":)" + std::to_string(begin + 1) +
                               R"(,"interface":"webapi::TreeObserver","method":"OnTreeUpdate","signature":"OnTreeUpdate__IS","args":["{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \")" +
                               id + R"(\",\"state\": \")";
    const auto answers = gateway.ReadStream("/api/events?session=" + session + "&lane=answers", 1);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].find(answer), 0u) << answers[0];
    // Read again after an event before it, the answer comes again; after it,
    // nothing waits on the lane.
    EXPECT_EQ(gateway.ReadStream("/api/events?session=" + session + "&lane=answers&since=1", 1), answers);
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"UnRegisterTreeObserver",)" + observer).status, 200);

    // Without the option the answer stays on the one stream, in its place.
    const std::string plain = gateway.OpenSession();
    const std::string plainObserver = R"("args":["session"],"session":)" + Quoted(plain) + "}";
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"RegisterTreeObserver",)" + plainObserver).status, 200);
    ASSERT_EQ(gateway.ReadStream("/api/events?session=" + plain, 1000, nullptr, "OnTreeUpdateEnd").size(),
              registration.size());
    ASSERT_EQ(gateway.Post("/api/call", R"({"method":"SelectTreeNodes","args":[")" + query + R"("],"session":)" +
                                            Quoted(plain) + "}")
                  .status,
              200);
    const auto inPlace = gateway.ReadEvents(plain, 3, nullptr, std::to_string(registration.size()));
    ASSERT_EQ(inPlace.size(), 3u);
    EXPECT_EQ(inPlace[1].substr(answer.size()), answers[0].substr(answer.size()));
    EXPECT_NE(inPlace[1].find(R"(,"method":"OnTreeUpdate",)"), std::string::npos);
    EXPECT_EQ(gateway.Post("/api/call", R"({"method":"UnRegisterTreeObserver",)" + plainObserver).status, 200);
    EXPECT_EQ(gateway.Post("/host/control", R"({"action":"loadWorld","path":""})").status, 200);
}

}  // namespace
}  // namespace gtest_gateway
