#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "guitree/VisibilityState.h"

namespace qxk {
class BaseInstance;
}

namespace guitree {

class GuiTree;

// What a GuiTree knows of the state of its nodes.
class TreeStateBase : public virtual du::RefCounted {
public:
    // One of the VisibilityState values; VS_Num when it is not known.
    virtual int GetVisibilityState(const du::SmartPtr<qxk::BaseInstance>& instance);
    GuiTree& GetGuiTree() const { return tree_; }

protected:
    explicit TreeStateBase(GuiTree& tree) : tree_(tree) {}
    ~TreeStateBase() override = default;

private:
    GuiTree& tree_;
};

}  // namespace guitree
