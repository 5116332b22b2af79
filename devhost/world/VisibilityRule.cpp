#include "devhost/world/VisibilityRule.h"

#include <utility>
#include <vector>

#include "devhost/world/SceneModel.h"
#include "guitree/VisAndIconChanges.h"
#include "guitree/VisibilityState.h"

namespace devhost {

namespace {

bool ShownIn(const qxk::ShapeScene& scene, const InstanceNode& node) {
    const auto& shapes = scene.GetSceneState().shapes;
    auto it = shapes.find(&node);
    return it != shapes.end() && it->second->visible;
}

// Adds the nodes of the branch below node, and those of them shown.
void CountBranch(const qxk::ShapeScene* scene, const InstanceNode& node, std::size_t& total, std::size_t& visible) {
    std::vector<const InstanceNode*> stack;
    for (const auto& child : node.children) stack.push_back(child.get());
    while (!stack.empty()) {
        const InstanceNode* current = stack.back();
        stack.pop_back();
        ++total;
        if (scene && ShownIn(*scene, *current)) ++visible;
        for (const auto& child : current->children) stack.push_back(child.get());
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
    if (node.overridden) return node.visibilityOverride;
    std::size_t total = 0;
    std::size_t visible = 0;
    CountBranch(scene, node, total, visible);
    return StateFrom(scene && ShownIn(*scene, node), total, visible);
}

VisibilityStates::VisibilityStates(const qxk::ShapeScene* scene, const std::vector<InstanceNode*>& nodes)
    : scene_(scene), given_(nodes.begin(), nodes.end()) {}

int VisibilityStates::Of(const InstanceNode& node) {
    if (node.overridden) return node.visibilityOverride;
    const Counts& counts = Below(node);
    return StateFrom(scene_ && ShownIn(*scene_, node), counts.total, counts.visible);
}

// Given children before their parent, without recursion, as branches may be
// deep; a child that was not given has no given node below it (the nodes
// are asked with their ancestors) and is counted where it stands.
const VisibilityStates::Counts& VisibilityStates::Below(const InstanceNode& start) {
    auto known = below_.find(&start);
    if (known != below_.end()) return known->second;
    std::vector<std::pair<const InstanceNode*, bool>> stack{{&start, false}};  // node, children pushed
    while (!stack.empty()) {
        const InstanceNode* node = stack.back().first;
        if (!stack.back().second) {
            stack.back().second = true;
            for (const auto& child : node->children)
                if (given_.count(child.get()) && !below_.count(child.get())) stack.push_back({child.get(), false});
            continue;
        }
        stack.pop_back();
        Counts counts;
        for (const auto& child : node->children) {
            ++counts.total;
            if (scene_ && ShownIn(*scene_, *child)) ++counts.visible;
            auto inner = below_.find(child.get());
            if (inner != below_.end()) {
                counts.total += inner->second.total;
                counts.visible += inner->second.visible;
            } else {
                CountBranch(scene_, *child, counts.total, counts.visible);
            }
        }
        below_[node] = counts;
    }
    return below_[&start];
}

int TypeIconOf(const InstanceNode& node) {
    if (node.proxy && !node.proxy->expanded) return guitree::VisAndIconChanges::TI_Proxy;
    return node.children.empty() ? guitree::VisAndIconChanges::TI_Part : guitree::VisAndIconChanges::TI_Assembly;
}

}  // namespace devhost
