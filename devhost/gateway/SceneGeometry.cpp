#include "devhost/gateway/SceneGeometry.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "devhost/world/Application.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldLock.h"

namespace devhost::gateway {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

struct Drawn {
    std::uint64_t id;
    std::string idPath;
    const ShapeGeometry* shape;
    Transform transform;
};

// The corners of a box carried through a transform, as a box again.
Box Carried(const Box& box, const Transform& m) {
    Box out;
    for (int corner = 0; corner < 8; ++corner) {
        const float x = corner & 1 ? box.max[0] : box.min[0];
        const float y = corner & 2 ? box.max[1] : box.min[1];
        const float z = corner & 4 ? box.max[2] : box.min[2];
        out.Add(m[0] * x + m[4] * y + m[8] * z + m[12], m[1] * x + m[5] * y + m[9] * z + m[13],
                m[2] * x + m[6] * y + m[10] * z + m[14]);
    }
    return out;
}

// A transform that takes the unit cube round the origin onto a box.
Transform Onto(const Box& box) {
    Transform m = kIdentity;
    for (int axis = 0; axis < 3; ++axis) {
        m[axis * 5] = std::max(box.max[axis] - box.min[axis], 1e-3f);
        m[12 + axis] = (box.min[axis] + box.max[axis]) / 2;
    }
    return m;
}

const du::SmartPtr<ShapeGeometry>& UnitCube() {
    static const du::SmartPtr<ShapeGeometry> cube = [] {
        Box box;
        box.Add(-0.5f, -0.5f, -0.5f);
        box.Add(0.5f, 0.5f, 0.5f);
        return MakeBoxShape(box, "unplaced");
    }();
    return cube;
}

// A shape instance of an instance that has no geometry of its own (one
// added at run time) stands as a box over its nearest placed ancestor's or,
// without one, as a box a tenth of the scene's size standing on top of the
// scene, so that it can be seen and picked.
void PlaceUnplaced(std::vector<Drawn>& drawn, const std::vector<const InstanceNode*>& nodes,
                   const WorldGeometry* geometry) {
    Box scene;
    for (const Drawn& each : drawn)
        if (each.shape) {
            const Box box = Carried(each.shape->box, each.transform);
            scene.Add(box.min[0], box.min[1], box.min[2]);
            scene.Add(box.max[0], box.max[1], box.max[2]);
        }
    if (scene.Empty()) scene.Add(0, 0, 0);
    Box tenth;
    for (int axis = 0; axis < 3; ++axis) {
        const float middle = (scene.min[axis] + scene.max[axis]) / 2;
        const float half = std::max((scene.max[axis] - scene.min[axis]) / 20, 0.5f);
        tenth.min[axis] = axis == 1 ? scene.max[1] : middle - half;
        tenth.max[axis] = axis == 1 ? scene.max[1] + 2 * half : middle + half;
    }
    for (std::size_t i = 0; i < drawn.size(); ++i) {
        if (drawn[i].shape) continue;
        Box over = tenth;
        for (const InstanceNode* up = nodes[i]->parent; up && geometry; up = up->parent)
            if (const Placement* placed = geometry->Find(up->uid)) {
                over = Carried(placed->shape->box, placed->transform);
                break;
            }
        drawn[i].shape = UnitCube().get();
        drawn[i].transform = Onto(over);
    }
}

void Append(std::string& body, const void* data, std::size_t bytes) {
    body.append(static_cast<const char*>(data), bytes);
}

void WriteBox(Writer& writer, const Box& box) {
    writer.StartArray();
    for (float v : box.min) writer.Double(v);
    for (float v : box.max) writer.Double(v);
    writer.EndArray();
}

}  // namespace

bool EncodeSceneGeometry(const std::string& sceneName, std::string& block) {
    auto manager = CurrentSceneManager();
    auto world = CurrentWorld();
    if (!manager || !world) return false;
    du::SmartPtr<WorldGeometry> geometry = du::DynamicCast<WorldGeometry>(world->GetExtension("geometry"));
    std::vector<Drawn> drawn;
    std::vector<const InstanceNode*> nodes;
    {
        WorldGuard guard(WorldMutex());
        const qxk::ShapeScene* scene = nullptr;
        for (const auto& each : manager->scenes)
            if (each->GetSceneState().name == sceneName.c_str()) scene = dynamic_cast<const qxk::ShapeScene*>(each.get());
        if (!scene) return false;
        for (const auto& [instance, shape] : scene->GetSceneState().shapes) {
            const InstanceNode& node = Node(*instance);
            const Placement* placed = geometry ? geometry->Find(node.uid) : nullptr;
            drawn.push_back({node.uid, node.IdPath(), placed ? placed->shape.get() : nullptr,
                             placed ? placed->transform : kIdentity});
            nodes.push_back(&node);
        }
        PlaceUnplaced(drawn, nodes, geometry.get());
    }
    // Shapes in the order their first instance names them.
    std::unordered_map<const ShapeGeometry*, std::uint32_t> shapeIndex;
    std::vector<const ShapeGeometry*> shapes;
    for (const Drawn& each : drawn)
        if (shapeIndex.emplace(each.shape, static_cast<std::uint32_t>(shapes.size())).second) shapes.push_back(each.shape);

    std::string body;
    rapidjson::StringBuffer header;
    Writer writer(header);
    writer.StartObject();
    writer.Key("scene");
    writer.String(sceneName.c_str(), static_cast<rapidjson::SizeType>(sceneName.size()));
    writer.Key("shapes");
    writer.StartArray();
    for (const ShapeGeometry* shape : shapes) {
        writer.StartObject();
        writer.Key("name");
        writer.String(shape->name.c_str(), static_cast<rapidjson::SizeType>(shape->name.size()));
        char color[16];
        std::snprintf(color, sizeof color, "0x%08x", shape->color.GetAsHex());
        writer.Key("color");
        writer.String(color);
        writer.Key("box");
        WriteBox(writer, shape->box);
        writer.Key("positions");
        writer.Uint64(body.size());
        writer.Key("vertices");
        writer.Uint64(shape->positions.size() / 3);
        Append(body, shape->positions.data(), shape->positions.size() * sizeof(float));
        writer.Key("indices");
        writer.Uint64(body.size());
        writer.Key("triangles");
        writer.Uint64(shape->indices.size() / 3);
        Append(body, shape->indices.data(), shape->indices.size() * sizeof(std::uint32_t));
        writer.EndObject();
    }
    writer.EndArray();
    writer.Key("instances");
    writer.StartObject();
    writer.Key("count");
    writer.Uint64(drawn.size());
    writer.Key("transforms");
    writer.Uint64(body.size());
    for (const Drawn& each : drawn) Append(body, each.transform.data(), sizeof(float) * 16);
    writer.Key("shapes");
    writer.Uint64(body.size());
    for (const Drawn& each : drawn) {
        const std::uint32_t index = shapeIndex[each.shape];
        Append(body, &index, sizeof index);
    }
    writer.Key("ids");
    writer.StartArray();
    for (const Drawn& each : drawn) writer.String(std::to_string(each.id).c_str());
    writer.EndArray();
    writer.Key("idpaths");
    writer.StartArray();
    for (const Drawn& each : drawn)
        writer.String(each.idPath.c_str(), static_cast<rapidjson::SizeType>(each.idPath.size()));
    writer.EndArray();
    writer.EndObject();
    writer.EndObject();

    std::string json(header.GetString(), header.GetSize());
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const auto length = static_cast<std::uint32_t>(json.size());
    block.clear();
    block.reserve(4 + json.size() + body.size());
    Append(block, &length, sizeof length);
    block += json;
    block += body;
    return true;
}

}  // namespace devhost::gateway
