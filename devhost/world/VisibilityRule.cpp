#include "devhost/world/VisibilityRule.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "devhost/world/SceneModel.h"
#include "devhost/world/WorldLock.h"
#include "guitree/VisAndIconChanges.h"
#include "guitree/VisibilityState.h"

namespace devhost {

namespace {

using Counts = InstanceNode::BranchCounts;

bool ShownIn(const qxk::ShapeScene* scene, const InstanceNode& node) {
    if (!scene) return false;
    const ShapeInstanceImpl* shape = scene->GetSceneState().shapes.Find(&node);
    return shape && shape->visible;
}

bool Current(const Counts& counts, const qxk::ShapeScene* scene, std::uint64_t generation) {
    return counts.generation == generation && counts.scene == scene;
}

// Counts with nothing below.
Counts Fresh(const qxk::ShapeScene* scene, std::uint64_t generation) {
    Counts counts;
    counts.generation = generation;
    counts.scene = scene;
    return counts;
}

// A leaf's counts made current: nothing below, the node not looked up yet.
void Restart(const InstanceNode& leaf, const qxk::ShapeScene* scene, std::uint64_t generation) {
    leaf.counted = Fresh(scene, generation);
    leaf.shown = -1;
}

// The counts of the branch below start, kept in every node of the branch,
// with whether each node below is shown. Children before their parent,
// without recursion, as branches may be deep; a branch whose counts are
// current is not entered.
void CountBelow(const qxk::ShapeScene* scene, const InstanceNode& start, std::uint64_t generation) {
    std::vector<std::pair<const InstanceNode*, bool>> stack{{&start, false}};  // node, children pushed
    while (!stack.empty()) {
        const InstanceNode* node = stack.back().first;
        if (!stack.back().second) {
            stack.back().second = true;
            for (const auto& child : node->children)
                if (!child->children.empty() && !Current(child->counted, scene, generation))
                    stack.push_back({child.get(), false});
            continue;
        }
        stack.pop_back();
        Counts counts = Fresh(scene, generation);
        if (!Current(node->counted, scene, generation)) node->shown = -1;
        for (const auto& child : node->children) {
            if (child->children.empty() && !Current(child->counted, scene, generation))
                Restart(*child, scene, generation);
            if (child->shown < 0) child->shown = ShownIn(scene, *child);
            counts.total += 1 + child->counted.total;
            counts.visible += static_cast<std::uint32_t>(child->shown) + child->counted.visible;
        }
        node->counted = counts;
    }
}

// From the node's own visibility and the counts of its branch.
int StateFrom(bool self, std::size_t total, std::size_t visible) {
    if (visible == 0) return self ? guitree::VS_VisNoChdrnVis : guitree::VS_NotVisNoChdrnVis;
    if (visible == total) return self ? guitree::VS_VisAllChdrnVis : guitree::VS_NotVisAllChdrnVis;
    return self ? guitree::VS_VisSomeChdrnVis : guitree::VS_NotVisSomeChdrnVis;
}

}  // namespace

int VisibilityStateOf(const qxk::ShapeScene* scene, const InstanceNode& node) {
    if (node.overridden) return node.Extras()->visibilityOverride;
    const std::uint64_t generation = WorldGeneration();
    if (!Current(node.counted, scene, generation)) {
        if (node.children.empty())
            Restart(node, scene, generation);
        else
            CountBelow(scene, node, generation);
    }
    if (node.shown < 0) node.shown = ShownIn(scene, node);
    return StateFrom(node.shown > 0, node.counted.total, node.counted.visible);
}

int TypeIconOf(const InstanceNode& node) {
    if (node.UnreadProxy()) return guitree::VisAndIconChanges::TI_Proxy;
    return node.children.empty() ? guitree::VisAndIconChanges::TI_Part : guitree::VisAndIconChanges::TI_Assembly;
}

}  // namespace devhost
