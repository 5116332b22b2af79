#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace dom {
class ManagedObject;
}
namespace qxk {
class BaseTree;
class World;
}  // namespace qxk

namespace guitree {

class GuiInterface;
class TreeStateBase;

// The model behind a structure tree control. It drives its GuiInterface
// on the actor thread of its owner: every instance on Initialise, then the
// changes of the tree and of the visibility of its nodes as they happen.
class GuiTree : public virtual du::RefCounted {
public:
    // The tree holds no reference to its owner; once the owner has gone, or
    // its actor has ended, the interface is called no more.
    explicit GuiTree(const du::SmartPtr<dom::ManagedObject>& owner);
    ~GuiTree() override;
    GuiTree(const GuiTree&) = delete;
    GuiTree& operator=(const GuiTree&) = delete;

    void SetTreeState(du::SmartPtr<TreeStateBase> state);
    // Installs the interface, or with null removes it; the tree does not own
    // it. A new interface gets SetSceneViewListener at once, on this thread.
    void SetGuiInterface(GuiInterface* gui);
    void Initialise(const du::SmartPtr<qxk::World>& world);
    // Stops the tree: no further call reaches the interface.
    void Close();
    TreeStateBase* GetTreeState() const { return treeState_.get(); }
    // The world's tree once initialised, else null.
    du::SmartPtr<qxk::BaseTree> GetBaseTree();

    struct State;  // the host's record of the tree model
    State& GetGuiTreeState() const { return *state_; }

private:
    du::SmartPtr<TreeStateBase> treeState_;  // the tree state provider
    State* state_;
};

}  // namespace guitree
