#pragma once

#include <cstdint>
#include <deque>
#include <set>

#include "dom/ManagedObject.h"
#include "dp/QXTracer.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "guitree/GuiTree.h"
#include "qxk/BaseInstance.h"
#include "qxk/ShapeScene.h"
#include "remote/TreeObserver.h"
#include "tree/NodeAddressing.h"

namespace webapi {
class GuiInterface;
}

class LoadBranchLinkEvent;

// Lives while a client has a tree observer registered: it joins the
// observer, the scene it acts on, the host's tree model and the interface
// that publishes the tree. Everything runs on the module's actor thread.
class GuiTreeWatcher {
public:
    using InstanceQueue = std::deque<du::SmartPtr<qxk::BaseInstance>>;
    using PathSet = std::set<du::Symbol>;

    GuiTreeWatcher(du::SmartPtr<dom::ManagedObject> owner, du::SmartPtr<webapi::TreeObserver> observer,
                   du::SmartPtr<qxk::ShapeScene> scene);
    // Calls the host for nothing but references: the host calls that end
    // the watcher are Teardown's.
    ~GuiTreeWatcher();
    GuiTreeWatcher(const GuiTreeWatcher&) = delete;
    GuiTreeWatcher& operator=(const GuiTreeWatcher&) = delete;

    // Stops the host's tree and takes the interface out of it. Those host
    // calls may throw, so they run before the watcher is deleted, where the
    // actor's exception policy sees them, and never from a destructor.
    void Teardown();

    void PopulateInstanceMap();
    void UpdateInstanceMap(InstanceQueue added, InstanceQueue removed);
    du::Symbol FindNearestInstancePath(du::Symbol path);

    void SelectTreeNodes(du::Symbol json);
    void QueryNodeStates(du::Symbol json);

    void LoadInstancePaths(PathSet paths);
    void ShowInstanceBranch(qxk::BaseInstance* instance);
    void RemovePendingLoadEvent(du::SmartPtr<LoadBranchLinkEvent> event);

    void StartLoadProgress();
    void HideInstanceBranch(qxk::BaseInstance* instance);
    void FlyToAll();

private:
    // The visibility state the tree model gives an instance; fallback when
    // the tree has no state provider.
    int VisibilityState(const du::SmartPtr<qxk::BaseInstance>& instance, int fallback) const;
    void Insert(std::uint64_t id, qxk::BaseInstance* instance, InstanceMap::iterator& next);
    // Places an event under the module and keeps it until it completes.
    void Track(const du::SmartPtr<LoadBranchLinkEvent>& event);

    webapi::GuiInterface* guiInterface;  // owned
    du::SmartPtr<guitree::GuiTree> guiTree;
    du::SmartPtr<webapi::TreeObserver> treeObserver;
    du::SmartPtr<qxk::ShapeScene> shapeScene;
    std::set<du::SmartPtr<LoadBranchLinkEvent>> pendingLoadEvents;
    InstanceMap instancesById;
    du::SmartPtr<qxk::BaseInstance> lastPrimaryInstance;
    int lastPrimaryState;  // read only once lastPrimaryInstance has been set
    // Plain: the module owns this watcher, and a counted reference would keep
    // the module alive through its own watcher, so that it could never tear
    // the watcher down.
    dom::ManagedObject* managedOwner;
    unsigned int updateBatchSize;
    dp::QXTracer tracer;
};
