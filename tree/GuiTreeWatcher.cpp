#include "tree/GuiTreeWatcher.h"

#include <iterator>

#include "guitree/StructureTreeState.h"
#include "publisher/GuiInterface.h"
#include "qxk/BaseTree.h"
#include "qxk/ShapeInstance.h"
#include "qxk/World.h"
#include "tree/FlyToAll.h"
#include "tree/LoadEvents.h"
#include "tree/MyShapedEnumerator.h"
#include "tree/NodeVisitor.h"
#include "tree/ProgressEvents.h"

GuiTreeWatcher::GuiTreeWatcher(du::SmartPtr<dom::ManagedObject> owner, du::SmartPtr<webapi::TreeObserver> observer,
                               du::SmartPtr<qxk::ShapeScene> scene)
    : guiInterface(nullptr),
      treeObserver(observer),
      shapeScene(scene),
      lastPrimaryState(0),
      managedOwner(owner.get()),
      updateBatchSize(500),
      tracer("webapi", "GuiTreeWatcher") {
    guiTree = new guitree::GuiTree(owner);
    guiTree->SetTreeState(new guitree::StructureTreeState(*guiTree, true));
    guiInterface = new webapi::GuiInterface(this, treeObserver, guiTree, shapeScene);
    guiTree->SetGuiInterface(guiInterface);
    guiTree->Initialise(qxk::World::GetWorld());
}

void GuiTreeWatcher::Teardown() {
    guiTree->Close();
    guiTree->SetGuiInterface(nullptr);
    delete guiInterface;
    guiInterface = nullptr;
}

// An interface still here is one whose teardown threw, on an actor that has
// ended, or never ran, for a watcher that served no actor: no tree event
// reaches it any more, and its tree goes with it.
GuiTreeWatcher::~GuiTreeWatcher() {
    delete guiInterface;
    // Loads still in flight stay with the module until their reads end;
    // they find no watcher then and do nothing more.
    for (const auto& event : pendingLoadEvents) event->Detach();
}

void GuiTreeWatcher::PopulateInstanceMap() {
    guiInterface->NotifySceneAndView();
    instancesById.clear();
    du::SmartPtr<guitree::TreeStateBase> state(guiTree->GetTreeState());
    if (!state) return;
    NodeVisitor visitor(state);
    if (du::SmartPtr<qxk::BaseTree> tree = guiTree->GetBaseTree()) tree->Visit(visitor, qxk::BaseTree::VT_DepthFirst);
    InstanceMap::iterator next = instancesById.end();
    for (const auto& instance : visitor.instances) Insert(instance->GetUniqueId(), instance.get(), next);
}

// The first instance with an id stays. next is where the id after the last
// one given is looked for first: instances come mostly in id order, and
// then each id is found, or goes in, right there in constant time, with no
// search of the map.
void GuiTreeWatcher::Insert(std::uint64_t id, qxk::BaseInstance* instance, InstanceMap::iterator& next) {
    next = std::next(instancesById.try_emplace(next, id, instance));
}

// Adds before removes: an instance in both ends up absent.
void GuiTreeWatcher::UpdateInstanceMap(InstanceQueue added, InstanceQueue removed) {
    InstanceMap::iterator next = instancesById.begin();
    for (const auto& instance : added) Insert(instance->GetUniqueId(), instance.get(), next);
    for (const auto& instance : removed) instancesById.erase(instance->GetUniqueId());
}

du::Symbol GuiTreeWatcher::FindNearestInstancePath(du::Symbol path) { return NearestInstancePath(path); }

int GuiTreeWatcher::VisibilityState(const du::SmartPtr<qxk::BaseInstance>& instance, int fallback) const {
    guitree::TreeStateBase* state = guiTree->GetTreeState();
    return state ? state->GetVisibilityState(instance) : fallback;
}

void GuiTreeWatcher::Track(const du::SmartPtr<LoadBranchLinkEvent>& event) {
    managedOwner->ManageObject(du::SmartPtr<dom::ManagedObject>(event));
    pendingLoadEvents.insert(event);
}

void GuiTreeWatcher::RemovePendingLoadEvent(du::SmartPtr<LoadBranchLinkEvent> event) {
    pendingLoadEvents.erase(event);
}

// Also over a first view of another kind, unlike the scene loader's display.
void GuiTreeWatcher::StartLoadProgress() { ::StartLoadProgress(shapeScene, *managedOwner); }

void GuiTreeWatcher::FlyToAll() { ::FlyToAll(shapeScene); }

// Proxies get no care of their own: an unread one has no shape instance.
void GuiTreeWatcher::HideInstanceBranch(qxk::BaseInstance* instance) {
    if (!shapeScene) return;
    const auto branch = MyShapedEnumerator::CollectBranch(instance);
    shapeScene->BeginUpdateGroup();
    for (const auto& member : branch) {
        du::SmartPtr<qxk::ShapeInstance> shape;
        if (shapeScene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(member), shape) && shape)
            shape->SetVisibility(false, false);
    }
    shapeScene->EndUpdateGroup();
}
