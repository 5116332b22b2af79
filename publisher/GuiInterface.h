#pragma once

#include <deque>

#include "dp/QXTracer.h"
#include "du/SmartPtr.h"
#include "guitree/GuiInterface.h"
#include "guitree/GuiTree.h"
#include "guitree/SceneViewListener.h"
#include "publisher/KnownInstanceSet.h"
#include "qxk/BaseInstance.h"
#include "qxk/ShapeScene.h"
#include "remote/TreeObserver.h"

class GuiTreeWatcher;

namespace webapi {

// Stands where a tree control would stand for the host's tree model, and
// turns what the model tells it into documents for the client's observer.
// It runs on the module's actor thread, one call at a time.
class GuiInterface : public guitree::GuiInterface {
public:
    using InstanceQueue = std::deque<du::SmartPtr<qxk::BaseInstance>>;

    GuiInterface(GuiTreeWatcher* watcher, const du::SmartPtr<TreeObserver>& observer,
                 du::SmartPtr<guitree::GuiTree> tree, du::SmartPtr<qxk::ShapeScene> scene);
    ~GuiInterface() override;

    void SetSceneViewListener(const du::SmartPtr<guitree::SceneViewListener>& listener) override;
    void StartTreeUpdate() override;
    void FinishTreeUpdate() override;
    void ClearTree() override;
    void UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>& view,
                                            const guitree::VisAndIconChanges& changes) override;
    void UpdateVisAndTypeIcons(const guitree::VisAndIconChanges& changes) override;
    using guitree::GuiInterface::InstanceCreate;
    void InstanceCreate(const du::SmartPtr<qxk::BaseInstance>& instance, const du::SmartPtr<qxk::BaseInstance>& parent,
                        bool select) override;
    void InstanceRemove(const du::SmartPtr<qxk::BaseInstance>& instance,
                        const du::SmartPtr<qxk::BaseInstance>& parent) override;

    // Names the scene, and its first view, to the tree model's listener.
    void NotifySceneAndView();

private:
    void PublishTreeMapping();
    void PublishTreeRemove();
    void PublishInstances(const InstanceQueue& instances, const char* key, const char* tracePrefix);
    // Both visibility updates: chunks under chunkKey, the rest under "treeUpdate".
    void PublishStates(const guitree::VisAndIconChanges& changes, const char* chunkKey);

    du::SmartPtr<qxk::ShapeScene> scene;
    du::SmartPtr<guitree::SceneViewListener> sceneViewListener;
    du::SmartPtr<TreeObserver> observer;
    du::SmartPtr<guitree::GuiTree> tree;
    GuiTreeWatcher* watcher;  // the owner; not counted
    InstanceQueue addedInstances;
    InstanceQueue removedInstances;
    KnownInstanceSet knownInstances;
    unsigned int updateBatchSize;
    dp::QXTracer tracer;
};

}  // namespace webapi
