#include "devhost/world/VisibilityRule.h"

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

}  // namespace

int VisibilityStateOf(const qxk::ShapeScene* scene, const InstanceNode& node) {
    if (node.overridden) return node.visibilityOverride;
    bool self = scene && ShownIn(*scene, node);
    std::size_t total = 0;
    std::size_t visible = 0;
    std::vector<const InstanceNode*> stack;
    for (const auto& child : node.children) stack.push_back(child.get());
    while (!stack.empty()) {
        const InstanceNode* current = stack.back();
        stack.pop_back();
        ++total;
        if (scene && ShownIn(*scene, *current)) ++visible;
        for (const auto& child : current->children) stack.push_back(child.get());
    }
    if (visible == 0) return self ? guitree::VS_VisNoChdrnVis : guitree::VS_NotVisNoChdrnVis;
    if (visible == total) return self ? guitree::VS_VisAllChdrnVis : guitree::VS_NotVisAllChdrnVis;
    return self ? guitree::VS_VisSomeChdrnVis : guitree::VS_NotVisSomeChdrnVis;
}

int TypeIconOf(const InstanceNode& node) {
    if (node.proxy && !node.proxy->expanded) return guitree::VisAndIconChanges::TI_Proxy;
    return node.children.empty() ? guitree::VisAndIconChanges::TI_Part : guitree::VisAndIconChanges::TI_Assembly;
}

}  // namespace devhost
