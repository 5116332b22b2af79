#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "devhost/world/InstanceNode.h"
#include "qxk/ShapeScene.h"

namespace devhost {

// The visibility state of a tree node in a scene (under the world lock):
//  - "visible" is the node's own shape instance in the scene, shown;
//  - the children are the node's whole loaded branch below it: none of them
//    visible, some visible, or all visible (a leaf counts as "none");
//  - 1 VS_VisNoChdrnVis / 2 VS_NotVisNoChdrnVis: no child visible, node
//    visible or not; 3 / 4: some children visible; 5 / 6: all visible;
//  - with no scene nothing is visible;
//  - 7 to 9 never come from the rule; an instance's visibilityOverride
//    (set by tests) gives any integer in its place.
int VisibilityStateOf(const qxk::ShapeScene* scene, const InstanceNode& node);

// The same rule for the given nodes of one scene, under one hold of the
// world lock: the branch below a given node is counted once and shared by
// the given ancestors above it, where asking node by node walks each branch
// again for every ancestor. Only given nodes are remembered.
class VisibilityStates {
public:
    VisibilityStates(const qxk::ShapeScene* scene, const std::vector<InstanceNode*>& nodes);
    int Of(const InstanceNode& node);

private:
    struct Counts {
        std::size_t total = 0;    // nodes below
        std::size_t visible = 0;  // of them shown
    };
    const Counts& Below(const InstanceNode& node);

    const qxk::ShapeScene* scene_;
    std::unordered_set<const InstanceNode*> given_;
    std::unordered_map<const InstanceNode*, Counts> below_;
};

// The type icon of a node: an unread proxy, an assembly or a part.
int TypeIconOf(const InstanceNode& node);

}  // namespace devhost
