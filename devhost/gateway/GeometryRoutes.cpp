#include "devhost/gateway/GeometryRoutes.h"

#include "devhost/gateway/JsonReply.h"
#include "devhost/gateway/SceneGeometry.h"

namespace devhost::gateway {

namespace {

// Longer than any scene name a world holds.
constexpr std::size_t kMaxSceneName = 1024;

void Geometry(const httplib::Request& request, httplib::Response& response) {
    if (request.get_param_value_count("scene") != 1) {
        ReplyError(response, 400, "bad-request", "geometry?scene=NAME, one scene");
        return;
    }
    const std::string scene = request.get_param_value("scene");
    if (scene.empty() || scene.size() > kMaxSceneName) {
        ReplyError(response, 400, "bad-request", "a scene name of 1 to 1024 bytes");
        return;
    }
    std::string block;
    if (!EncodeSceneGeometry(scene, block)) {
        ReplyError(response, 404, "unknown-scene", "no shape scene \"" + scene + "\"");
        return;
    }
    response.set_header("Cache-Control", "no-store");
    response.set_content(block, "application/octet-stream");
}

}  // namespace

void AddGeometryRoutes(httplib::Server& server) {
    server.Get("/host/geometry", [](const httplib::Request& request, httplib::Response& response) {
        Geometry(request, response);
    });
}

}  // namespace devhost::gateway
