#include "publisher/GuiInterface.h"

#include "publisher/TreeDocuments.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/View.h"
#include "tree/GuiTreeWatcher.h"

namespace webapi {

GuiInterface::GuiInterface(GuiTreeWatcher* watcher, const du::SmartPtr<TreeObserver>& observer,
                           du::SmartPtr<guitree::GuiTree> tree, du::SmartPtr<qxk::ShapeScene> scene)
    : scene(scene),
      observer(observer),
      tree(tree),
      watcher(watcher),
      updateBatchSize(500),
      tracer("webapi", "GuiInterface") {}

GuiInterface::~GuiInterface() = default;

void GuiInterface::SetSceneViewListener(const du::SmartPtr<guitree::SceneViewListener>& listener) {
    if (sceneViewListener == listener) return;
    sceneViewListener = listener;
}

void GuiInterface::StartTreeUpdate() { tracer(dp::TT_Info) << "StartTreeUpdate"; }

void GuiInterface::InstanceCreate(const du::SmartPtr<qxk::BaseInstance>& instance,
                                  const du::SmartPtr<qxk::BaseInstance>&, bool) {
    knownInstances.Reserve(knownInstances.Size() + 1);
    knownInstances.Insert(instance.get());
    addedInstances.push_back(instance);
    tracer(dp::TT_Info) << "InstanceCreate";
}

void GuiInterface::InstanceRemove(const du::SmartPtr<qxk::BaseInstance>& instance,
                                  const du::SmartPtr<qxk::BaseInstance>&) {
    knownInstances.Erase(instance.get());
    removedInstances.push_back(instance);
    tracer(dp::TT_Info) << "InstanceRemove";
}

// Removals go out before additions, and the client hears of both before the
// watcher's map holds them.
void GuiInterface::FinishTreeUpdate() {
    tracer(dp::TT_Info) << "FinishTreeUpdate";
    if (!removedInstances.empty()) PublishTreeRemove();
    if (!addedInstances.empty()) PublishTreeMapping();
    watcher->UpdateInstanceMap(addedInstances, removedInstances);
    addedInstances.clear();
    removedInstances.clear();
}

// What the client was told before stays known until the tree removes it.
void GuiInterface::ClearTree() {
    const std::string document = ClearTreeDocument();
    observer->OnTreeUpdateBegin();
    observer->OnTreeUpdate(du::Symbol(document));
    observer->OnTreeUpdateEnd();
}

// The tree model names its listener as soon as the interface is installed;
// without one there is nobody to tell.
void GuiInterface::NotifySceneAndView() {
    if (!scene || !sceneViewListener) return;
    sceneViewListener->OnScene(du::SmartPtr<qxk::Scene>(scene));
    sceneViewListener->OnView(scene->GetView(0));
}

void GuiInterface::PublishTreeMapping() { PublishInstances(addedInstances, "treeMapping", "Tree Add Instances: "); }

void GuiInterface::PublishTreeRemove() { PublishInstances(removedInstances, "treeRemove", "Tree Remove Instances: "); }

void GuiInterface::PublishInstances(const InstanceQueue& instances, const char* key, const char* tracePrefix) {
    TreeDocument document;
    document.Reserve(instances.size());
    observer->OnTreeMappingBegin();
    for (const auto& instance : instances)
        document.AddInstance(instance->GetUniqueId(), instance->GetIdPath().safe_c_str());
    const std::string_view text = document.Take(key);
    tracer(dp::TT_Info) << tracePrefix << text;
    observer->OnTreeMapping(du::Symbol(text.data(), text.size()));
    observer->OnTreeMappingEnd();
}

void GuiInterface::UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>&,
                                                      const guitree::VisAndIconChanges& changes) {
    tracer(dp::TT_Info) << "+UpdateVisAndTypeIconVisibleChanges";
    PublishStates(changes, "treeUpdateChanges");
    tracer(dp::TT_Info) << "-UpdateVisAndTypeIconVisibleChanges";
}

void GuiInterface::UpdateVisAndTypeIcons(const guitree::VisAndIconChanges& changes) {
    tracer(dp::TT_Info) << "+UpdateVisAndTypeIcons";
    PublishStates(changes, "treeUpdate");
    tracer(dp::TT_Info) << "-UpdateVisAndTypeIcons";
}

// The client hears only of instances it has been told of. Full chunks go
// under chunkKey, the remainder always under "treeUpdate".
void GuiInterface::PublishStates(const guitree::VisAndIconChanges& changes, const char* chunkKey) {
    TreeDocument document;
    unsigned int count = 0;
    observer->OnTreeUpdateBegin();
    // The entries' buckets lie scattered over the set's bucket array; asking
    // for each a few entries ahead lets those misses overlap.
    constexpr int lookAhead = 8;
    auto ahead = changes.begin();
    for (int i = 0; i < lookAhead && ahead != changes.end(); ++i, ++ahead) knownInstances.Prefetch(ahead->first);
    for (const auto& element : changes) {
        if (ahead != changes.end()) knownInstances.Prefetch((ahead++)->first);
        qxk::BaseInstance* instance = element.first;
        if (!knownInstances.Contains(instance)) continue;
        ++count;
        const int state = (element.second >> 4) & 0xf;
        const char* loaded = nullptr;
        if (scene) {
            du::SmartPtr<qxk::ShapeInstance> shape;
            if (auto* structural = dynamic_cast<qxk::Instance*>(instance))
                if (scene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(structural), shape) && shape)
                    loaded = shape->IsVisible() ? "true" : "false";
        }
        document.AddState(instance->GetUniqueId(), state, loaded);
        if (count == updateBatchSize) {
            count = 0;
            // A full chunk, and only a full one, goes under the operation's own key.
            const std::string_view text = document.Take(chunkKey);
            if (!text.empty()) observer->OnTreeUpdate(du::Symbol(text.data(), text.size()));
        }
    }
    if (!document.Empty()) {
        // The remainder goes under "treeUpdate" whichever operation this is.
        const std::string_view text = document.Take("treeUpdate");
        if (!text.empty()) observer->OnTreeUpdate(du::Symbol(text.data(), text.size()));
    }
    observer->OnTreeUpdateEnd();
}

}  // namespace webapi
