#pragma once

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
// A branch's counts are kept in its nodes until the world's generation moves
// on, so asking for every node of a tree counts each branch once, where
// asking node by node would walk each branch again for every ancestor.
int VisibilityStateOf(const qxk::ShapeScene* scene, const InstanceNode& node);

// The type icon of a node: an unread proxy, an assembly or a part.
int TypeIconOf(const InstanceNode& node);

}  // namespace devhost
