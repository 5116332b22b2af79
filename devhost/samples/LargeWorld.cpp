#include "devhost/samples/LargeWorld.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

#include "devhost/content/InstanceContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/samples/Thumbnails.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldBuilder.h"

namespace devhost {
namespace {

// Thumbnails are few and shared, as the viewables of one product line are.
const unsigned kThumbnailCount = 8;

du::SmartPtr<Shape> MakeLeafShape() {
    std::vector<du::SmartPtr<qxg::Object>> shellItems = {
        MakeGeometry(GeomKind::Face, "face_1"), MakeGeometry(GeomKind::Face, "face_2"),
        MakeGeometry(GeomKind::Edge, "edge_1"), MakeGeometry(GeomKind::Vertex, "vertex_1"),
        MakeGeometry(GeomKind::Markup, "dim_1"), MakeGeometry(GeomKind::Markup, "note_1")};
    du::SmartPtr<qxg::Object> shell = MakeGeometry(GeomKind::Shell, "shell_1", shellItems);
    du::SmartPtr<qxg::Object> region = MakeGeometry(GeomKind::Region, "region_1", {shell});
    du::SmartPtr<qxg::Object> body = MakeGeometry(GeomKind::Body, "body_1", {region});
    return new Shape("leaf", new ShapeData({body}));
}

std::size_t Capacity(unsigned depth, unsigned fanOut) {
    std::size_t total = 1, level = 1;
    for (unsigned d = 0; d < depth; ++d) {
        level *= fanOut;
        total += level;
    }
    return total;
}

}  // namespace

du::SmartPtr<WorldModel> BuildLargeWorld(const LargeWorldParams& params, LargeWorldInfo* info) {
    LargeWorldInfo made;
    WorldBuilder builder("world");
    du::SmartPtr<WorldContent> content(new WorldContent(params.folder.empty() ? "." : params.folder));
    AttachContent(builder.World(), content);
    const std::size_t target = std::min(params.instances, params.fanOut ? Capacity(params.depth, params.fanOut) : 1);

    std::vector<du::Symbol> thumbnails;
    if (params.viewableEvery && !params.folder.empty()) {
        for (unsigned i = 0; i < kThumbnailCount; ++i) {
            const std::string name = "thumbnail_" + std::to_string(i) + ".png";
            if (WritePartThumbnail(params.folder + "/" + name, i + 1)) thumbnails.emplace_back(name);
        }
    }

    du::SmartPtr<qxk::ShapeScene> scene = builder.AddShapeScene("Model");
    builder.SetActiveView(builder.AddView(scene, ViewKindNumber("shape"), "Main"));
    du::SmartPtr<Shape> leafShape = params.shapes ? MakeLeafShape() : nullptr;
    if (leafShape) content->AddShape(leafShape);
    // Every leaf's shape is the one box, the leaves laid out on a square
    // grid in the order they are made.
    Box unit;
    unit.Add(0, 0, 0);
    unit.Add(1, 1, 1);
    const du::SmartPtr<ShapeGeometry> leafBox = MakeBoxShape(unit, "leaf");
    const auto gridSide = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(target))));
    std::size_t leaves = 0;

    struct Pending {
        InstanceNode* node;
        unsigned level;
        bool unread;
    };
    std::deque<Pending> queue;
    queue.push_back({&builder.AddInstance(nullptr, "product"), 0, false});
    made.instances = 1;
    // Proxies are spread evenly: one whenever the running share falls behind.
    std::size_t assemblies = 0;

    while (!queue.empty()) {
        Pending current = queue.front();
        queue.pop_front();
        const bool assembly = current.level < params.depth && made.instances < target;
        if (!assembly) {
            if (leafShape) {
                InstanceContent leaf;
                leaf.shape = leafShape;
                SetInstanceContent(*current.node, leaf);
                Transform at = kIdentity;
                at[12] = 1.5f * static_cast<float>(leaves % gridSide);
                at[14] = 1.5f * static_cast<float>(leaves / gridSide);
                builder.Place(*current.node, leafBox, at);
                ++leaves;
                if (!current.unread && params.shown) {
                    builder.AddShape(*scene, *current.node, true);
                    ++made.shapeInstances;
                }
            }
            continue;
        }
        if (current.level > 0) {
            ++assemblies;
            if (static_cast<double>(made.proxies + 1) <= params.proxyShare * static_cast<double>(assemblies)) {
                builder.MakeProxy(*current.node, ProxyOutcome::Expand, ProxyCompletion::Auto);
                ++made.proxies;
                current.unread = true;
            }
            if (params.viewableEvery && assemblies % params.viewableEvery == 0) {
                ViewableDesc viewable;
                viewable.kind = ViewableKind::Illustration3d;
                viewable.name = du::Symbol("Illustration " + std::to_string(assemblies));
                viewable.type = "illustration3d";
                if (!thumbnails.empty()) viewable.thumbnail = thumbnails[made.viewables % thumbnails.size()];
                InstanceContent withViewable;
                withViewable.component = new ComponentNode({MakeViewable(viewable)});
                SetInstanceContent(*current.node, withViewable);
                ++made.viewables;
            }
        }
        for (unsigned i = 0; i < params.fanOut && made.instances < target; ++i) {
            InstanceNode& child = builder.AddInstance(current.node, "n" + std::to_string(i));
            ++made.instances;
            if (current.unread) ++made.unread;
            queue.push_back({&child, current.level + 1, current.unread});
        }
    }
    if (info) *info = made;
    return builder.Publish();
}

}  // namespace devhost
