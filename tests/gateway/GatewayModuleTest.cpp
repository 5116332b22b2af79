// The gateway in front of the plug-in itself, loaded as the viewer loads it,
// on the sample world: the module's three interfaces, its refusals of bad
// messages, the trace and the host's state and control.

#include <gtest/gtest.h>

#include <memory>

#include "GatewayTestSupport.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"
#include "qxk/ActiveModule.h"

namespace gtest_gateway {
namespace {

class GatewayModule : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        devhost::LoadDefaultSampleWorld();
        plugin = std::make_unique<devhost::PluginLibrary>(WEBAPI_PLUGIN_PATH);
        ASSERT_TRUE(plugin->IsLoaded()) << plugin->Error();
        ASSERT_TRUE(plugin->Init());
        du::SmartPtr<du::RefCounted> component;
        ASSERT_TRUE(plugin->CreateComponent("world", "web", "api", component));
        actorName = dynamic_cast<qxk::ActiveModule&>(*component).GetActorName().str();
    }
    static void TearDownTestSuite() {
        plugin->Terminate();
        plugin.reset();
    }

    static devhost::gateway::GatewayOptions Options() {
        devhost::gateway::GatewayOptions options;
        options.actorName = actorName;
        return options;
    }

    static std::unique_ptr<devhost::PluginLibrary> plugin;
    static std::string actorName;
    RunningGateway gateway{Options()};
};

std::unique_ptr<devhost::PluginLibrary> GatewayModule::plugin;
std::string GatewayModule::actorName;

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
    ASSERT_EQ(state.status, 200) << state.text;
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
    EXPECT_TRUE(found) << state.text;
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

}  // namespace
}  // namespace gtest_gateway
