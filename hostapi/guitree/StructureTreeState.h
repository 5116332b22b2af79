#pragma once

#include "guitree/TreeStateBase.h"

namespace guitree {

// The state of a tree of the product structure. With trackVisibility the
// visibility state of a node comes from the scene that the tree shows
// (see GuiTree); without it every node answers VS_Num.
class StructureTreeState : public TreeStateBase {
public:
    StructureTreeState(GuiTree& tree, bool trackVisibility);
    ~StructureTreeState() override;

    int GetVisibilityState(const du::SmartPtr<qxk::BaseInstance>& instance) override;

private:
    bool trackVisibility_;
};

}  // namespace guitree
