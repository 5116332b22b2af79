// The geometry route and the pick over HTTP, on the engine's world with the
// plug-in loaded as the viewer loads it: what they serve, and how they
// refuse what a stranger sends (no token, a foreign Host or Origin, wrong,
// missing, huge or deep input) and serve on.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "../gateway/GatewayTestSupport.h"
#include "ModelFiles.h"
#include "PluginClient.h"
#include "devhost/model/ModelFile.h"
#include "devhost/world/WorldControl.h"

namespace {

using gtest_gateway::RunningGateway;

class ModelGateway : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        devhost::model::LoadModelFile(modeltest::Engine());
        plugin = std::make_unique<support::PluginClient>();
    }
    static void TearDownTestSuite() {
        plugin.reset();
        devhost::DropWorld();
    }
    static devhost::gateway::GatewayOptions Options() {
        devhost::gateway::GatewayOptions options;
        options.actorName = plugin->ActorName().str();
        return options;
    }
    // A request of a stranger: no token unless given, and any headers.
    httplib::Result Raw(const std::string& path, const httplib::Headers& headers = {}) {
        httplib::Client client("127.0.0.1", gateway.Port());
        return client.Get(path, headers);
    }
    void ExpectServesOn() {
        auto reply = gateway.Get("/host/geometry?scene=Model");
        EXPECT_EQ(200, reply.status);
    }

    static std::unique_ptr<support::PluginClient> plugin;
    RunningGateway gateway{Options()};
};

std::unique_ptr<support::PluginClient> ModelGateway::plugin;

// The block's parts, checked against its own length as a reader would.
struct Block {
    rapidjson::Document header;
    std::string body;

    explicit Block(const std::string& bytes) {
        std::uint32_t length = 0;
        EXPECT_GE(bytes.size(), 4u);
        std::memcpy(&length, bytes.data(), 4);
        EXPECT_EQ(0u, length % 4);
        EXPECT_LE(4u + length, bytes.size());
        header.Parse(bytes.data() + 4, length);
        body = bytes.substr(4 + length);
    }
    template <typename T>
    const T* At(std::uint64_t offset, std::uint64_t count) const {
        EXPECT_EQ(0u, offset % 4);
        EXPECT_LE(offset + count * sizeof(T), body.size());
        return reinterpret_cast<const T*>(body.data() + offset);
    }
};

TEST_F(ModelGateway, TheGeometryHoldsEveryShapeOnceAndEveryShapeInstanceWithItsTransform) {
    auto reply = gateway.Get("/host/geometry?scene=Model");
    ASSERT_EQ(200, reply.status);
    Block block(reply.text);
    ASSERT_FALSE(block.header.HasParseError());
    const auto& shapes = block.header["shapes"];
    const auto& instances = block.header["instances"];
    EXPECT_STREQ("Model", block.header["scene"].GetString());
    EXPECT_EQ(67u, instances["count"].GetUint());
    EXPECT_EQ(29u, shapes.Size()) << "shared meshes come once";
    ASSERT_EQ(67u, instances["ids"].Size());
    ASSERT_EQ(67u, instances["idpaths"].Size());
    EXPECT_STREQ("2CylinderEngine/nodes(0)/nodes(80)", instances["idpaths"][0].GetString());
    std::uint64_t triangles = 0;
    for (const auto& shape : shapes.GetArray()) {
        const std::uint64_t vertices = shape["vertices"].GetUint64();
        const auto* indices = block.At<std::uint32_t>(shape["indices"].GetUint64(), shape["triangles"].GetUint64() * 3);
        block.At<float>(shape["positions"].GetUint64(), vertices * 3);
        for (std::uint64_t i = 0; i < shape["triangles"].GetUint64() * 3; ++i) ASSERT_LT(indices[i], vertices);
        triangles += shape["triangles"].GetUint64();
        EXPECT_EQ(10u, std::strlen(shape["color"].GetString()));
    }
    EXPECT_GT(triangles, 10000u);
    const auto* shapeOf = block.At<std::uint32_t>(instances["shapes"].GetUint64(), 67);
    const auto* transforms = block.At<float>(instances["transforms"].GetUint64(), 67 * 16);
    for (int i = 0; i < 67; ++i) {
        EXPECT_LT(shapeOf[i], shapes.Size());
        EXPECT_EQ(1.0f, transforms[i * 16 + 15]) << "an affine transform, column after column";
    }
}

TEST_F(ModelGateway, TheGeometryRouteRefusesStrangersAndBadScenesAndServesOn) {
    EXPECT_EQ(401, Raw("/host/geometry?scene=Model")->status);
    EXPECT_EQ(401, Raw("/host/geometry?scene=Model&token=wrong")->status);
    const std::string token = "&token=" + gateway.Token();
    EXPECT_EQ(403, Raw("/host/geometry?scene=Model" + token, {{"Host", "evil.example:80"}})->status);
    EXPECT_EQ(403, Raw("/host/geometry?scene=Model" + token, {{"Origin", "http://evil.example"}})->status);
    EXPECT_EQ(200, Raw("/host/geometry?scene=Model" + token)->status);
    const struct {
        std::string path;
        int status;
    } refused[] = {
        {"/host/geometry", 400},
        {"/host/geometry?scene=", 400},
        {"/host/geometry?scene=Model&scene=Other", 400},
        {"/host/geometry?scene=" + std::string(5000, 'x'), 400},
        {"/host/geometry?scene=Nowhere", 404},
        {"/host/geometry?scene=%00", 404},
        {"/host/geometry?scene=" + std::string(1024, 'y'), 404},
    };
    for (const auto& each : refused) {
        auto reply = gateway.Get(each.path);
        EXPECT_EQ(each.status, reply.status) << each.path.substr(0, 80);
        EXPECT_TRUE(reply.body.IsObject() && reply.body.HasMember("error")) << reply.text.substr(0, 200);
    }
    ExpectServesOn();
}

TEST_F(ModelGateway, APickSelectsAsTheViewerWouldAddsWithAddAndClearsWithNull) {
    const std::string part = "2CylinderEngine/nodes(0)/nodes(80)", other = "2CylinderEngine/nodes(0)/nodes(79)";
    auto pick = [&](const std::string& members) {
        return gateway.Post("/host/control", R"({"action": "pickShape", "scene": "Model", )" + members + "}");
    };
    ASSERT_EQ(200, pick(R"("idpath": ")" + part + R"(", "point": [1, 2.5, -3])").status);
    const std::string session = gateway.OpenSession();
    auto selection = [&] {
        auto reply = gateway.Post("/api/call", R"({"method": "GetCurrentSelection", "session": ")" + session + "\"}");
        return std::string(reply.body["result"].IsString() ? reply.body["result"].GetString() : "");
    };
    std::string text = selection();
    EXPECT_NE(std::string::npos, text.find("\"key\": \"instance\", \"value\": \"" + part + "\"")) << text;
    EXPECT_NE(std::string::npos, text.find("\"key\": \"pick_point\", \"value\": \"1 2.5 -3\"")) << text;

    ASSERT_EQ(200, pick(R"("idpath": ")" + other + R"(", "add": true)").status);
    ASSERT_EQ(200, pick(R"("idpath": ")" + other + R"(", "add": true)").status);
    text = selection();
    EXPECT_NE(std::string::npos, text.find(part));
    const std::string picked = "\"key\": \"instance\", \"value\": \"" + other + "\"";
    EXPECT_NE(std::string::npos, text.find(picked)) << text;
    EXPECT_EQ(text.find(picked), text.rfind(picked)) << "a second add of the same shape adds nothing";
    // A pick without add replaces; a null one clears.
    ASSERT_EQ(200, pick(R"("idpath": ")" + other + "\"").status);
    text = selection();
    EXPECT_EQ(std::string::npos, text.find(part)) << text;
    ASSERT_EQ(200, pick(R"("idpath": null)").status);
    EXPECT_EQ(std::string::npos, selection().find(other));
}

TEST_F(ModelGateway, APickRefusesWhatIsNoShapeInstanceOrNoRequestAndServesOn) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::string bodies[] = {
        R"({"action": "pickShape", "scene": "Model"})",
        R"({"action": "pickShape", "scene": "Model", "idpath": 7})",
        R"({"action": "pickShape", "scene": "Model", "idpath": "2CylinderEngine", "add": "yes"})",
        R"({"action": "pickShape", "scene": "Model", "idpath": "2CylinderEngine"})",
        R"({"action": "pickShape", "scene": "Model", "idpath": "no/such/part"})",
        R"({"action": "pickShape", "scene": "Nowhere", "idpath": null})",
        R"({"action": "pickShape", "scene": "Model", "idpath": null, "point": [1, 2]})",
        R"({"action": "pickShape", "scene": "Model", "idpath": null, "point": )" + deep + "}",
        R"({"action": "pickShape", "scene": ")" + std::string(1 << 20, 's') + R"(", "idpath": null})",
    };
    for (const std::string& body : bodies) {
        auto reply = gateway.Post("/host/control", body);
        EXPECT_GE(reply.status, 400) << body.substr(0, 100);
        EXPECT_LT(reply.status, 500) << body.substr(0, 100);
    }
    httplib::Client stranger("127.0.0.1", gateway.Port());
    EXPECT_EQ(401, stranger.Post("/host/control", R"({"action": "pickShape", "scene": "Model", "idpath": null})",
                                 "application/json")
                       ->status);
    ExpectServesOn();
}

}  // namespace
