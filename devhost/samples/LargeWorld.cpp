#include "devhost/samples/LargeWorld.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
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

// What each instance of the world is, worked out level by level (the
// order that decides which instances a count reaches, which assemblies are
// proxies or hold viewables and where each leaf stands on the grid) before
// any is made.
struct Planned {
    std::size_t firstChild = 0;  // the children are consecutive, in plan order
    unsigned children = 0;
    unsigned level = 0;
    unsigned name = 0;  // its place among its siblings
    bool unread = false;
    bool leaf = false;
    bool proxy = false;
    std::size_t viewable = 0;  // its viewable's number plus 1; 0 for none
    std::size_t spot = 0;      // a leaf's place on the grid
};

std::vector<Planned> PlanWorld(const LargeWorldParams& params, std::size_t target, LargeWorldInfo& made) {
    std::vector<Planned> plan(1);
    plan.reserve(target);
    made.instances = 1;
    std::size_t assemblies = 0, leaves = 0;
    for (std::size_t at = 0; at < plan.size(); ++at) {
        Planned& current = plan[at];
        if (current.level >= params.depth || made.instances >= target) {
            current.leaf = true;
            current.spot = leaves++;
            if (params.shapes && !current.unread && params.shown) ++made.shapeInstances;
            continue;
        }
        if (current.level > 0) {
            ++assemblies;
            // Proxies are spread evenly: one whenever the running share falls behind.
            if (static_cast<double>(made.proxies + 1) <= params.proxyShare * static_cast<double>(assemblies)) {
                current.proxy = true;
                current.unread = true;
                ++made.proxies;
            }
            if (params.viewableEvery && assemblies % params.viewableEvery == 0) current.viewable = ++made.viewables;
        }
        const Planned parent = current;  // plan grows below, and may move
        plan[at].firstChild = plan.size();
        for (unsigned i = 0; i < params.fanOut && made.instances < target; ++i) {
            Planned child;
            child.level = parent.level + 1;
            child.name = i;
            child.unread = parent.unread;
            plan.push_back(child);
            ++plan[at].children;
            ++made.instances;
            if (parent.unread) ++made.unread;
        }
    }
    return plan;
}

}  // namespace

// The world is planned level by level and then made depth first, the order
// in which a viewer reading a product structure makes its instances: the
// instances of a branch lie together in memory and have ids in the order
// of a walk of the tree.
du::SmartPtr<WorldModel> BuildLargeWorld(const LargeWorldParams& params, LargeWorldInfo* info) {
    LargeWorldInfo made;
    WorldBuilder builder("world");
    du::SmartPtr<WorldContent> content(new WorldContent(params.folder.empty() ? "." : params.folder));
    AttachContent(builder.World(), content);
    const std::size_t target = std::min(params.instances, params.fanOut ? Capacity(params.depth, params.fanOut) : 1);
    const std::vector<Planned> plan = PlanWorld(params, target, made);

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
    // grid level by level.
    Box unit;
    unit.Add(0, 0, 0);
    unit.Add(1, 1, 1);
    const du::SmartPtr<ShapeGeometry> leafBox = MakeBoxShape(unit, "leaf");
    const auto gridSide = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(target))));

    // Each instance is made, given what it holds, and then its children.
    std::vector<std::pair<std::size_t, InstanceNode*>> stack{{0, nullptr}};
    while (!stack.empty()) {
        const auto [at, parent] = stack.back();
        stack.pop_back();
        const Planned& planned = plan[at];
        InstanceNode& node = builder.AddInstance(parent, parent ? "n" + std::to_string(planned.name) : "product");
        if (planned.leaf) {
            if (leafShape) {
                InstanceContent leaf;
                leaf.shape = leafShape;
                SetInstanceContent(node, leaf);
                Transform place = kIdentity;
                place[12] = 1.5f * static_cast<float>(planned.spot % gridSide);
                place[14] = 1.5f * static_cast<float>(planned.spot / gridSide);
                builder.Place(node, leafBox, place);
                if (!planned.unread && params.shown) builder.AddShape(*scene, node, true);
            }
            continue;
        }
        if (planned.proxy) builder.MakeProxy(node, ProxyOutcome::Expand, ProxyCompletion::Auto);
        if (planned.viewable) {
            ViewableDesc viewable;
            viewable.kind = ViewableKind::Illustration3d;
            viewable.name = du::Symbol("Illustration " + std::to_string(planned.viewable * params.viewableEvery));
            viewable.type = "illustration3d";
            if (!thumbnails.empty()) viewable.thumbnail = thumbnails[(planned.viewable - 1) % thumbnails.size()];
            InstanceContent withViewable;
            withViewable.component = new ComponentNode({MakeViewable(viewable)});
            SetInstanceContent(node, withViewable);
        }
        // Pushed last first, so that the first child is made first.
        for (std::size_t child = planned.firstChild + planned.children; child-- > planned.firstChild;)
            stack.emplace_back(child, &node);
    }
    if (info) *info = made;
    return builder.Publish();
}

}  // namespace devhost
