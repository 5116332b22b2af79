#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "devhost/content/AnnoSets.h"
#include "devhost/content/InstanceContent.h"
#include "devhost/content/Geometry.h"
#include "devhost/content/Loader.h"
#include "devhost/content/OptionalModules.h"
#include "devhost/content/PluginHandler.h"
#include "devhost/content/Selection.h"
#include "devhost/content/Viewables.h"
#include "qxk/Scene.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/View.h"
#include "qxk/World.h"

namespace devhost {

// What a world has beyond its structure and scenes: files, loader and modules,
// shapes, viewables, annotation sets, and what the scene manager and the
// application's observers did with them. It hangs on the
// world as its "content" extension and goes with it. Everything in it is
// guarded by the content's own lock, which is never held while host or
// module code is called.
class WorldContent final : public du::RefCounted {
public:
    explicit WorldContent(std::string folder);

    // The world's folder: file sources and fetches are relative to it.
    const std::string& Folder() const { return folder_; }

    // A world may have no loader; this may change while the world is in use.
    void SetLoaderPresent(bool present) { loaderPresent_ = present; }

    // --- what the world has (set while it is built, or by tests later) ---
    // Optional modules the world has; profiles is the text GetProfiles gives.
    void AddEcadModule();
    void AddWebIpcModule();
    void AddIllustrateModule(const du::Symbol& profiles);
    void AddSchematicModule(const du::Symbol& profiles);
    void AddShape(const du::SmartPtr<Shape>& shape);
    du::SmartPtr<Shape> FindShape(const du::Symbol& name) const;
    void SetAnnoSets(const std::vector<AnnoSetDesc>& sets);
    // Content of the instance at an idpath, whether or not it is read yet.
    void SetContentForPath(const std::string& idPath, const InstanceContent& content);
    // A scene's selection as it starts, for scenes of that name.
    void SetInitialSelection(const du::Symbol& sceneName, unsigned int selectionSet,
                             std::vector<SelectionItemDesc> items);
    // A further set of viewables by idpath, which UseViewableSet can show in
    // place of the components' own.
    void AddToViewableSet(const std::string& set, const std::string& idPath,
                          const du::SmartPtr<qxk::ComponentNode>& component);
    // Components then give the viewables of that set (none for an instance
    // it does not name); "" goes back to their own. False for a set the
    // world does not have.
    bool UseViewableSet(const std::string& set);
    // Sets that fail when applied.
    void SetApplyFails(const du::Symbol& name);

    // --- host operations' state ---
    du::SmartPtr<Loader> GetLoader() const;  // null when the world has none
    // The loader even when the world hides it, for building and inspection.
    const du::SmartPtr<Loader>& OwnLoader() const { return loader_; }
    du::SmartPtr<qxk::AnnoSetTable> GetAnnoSetTable() const;
    // False when the world names nothing for the idpath.
    bool ContentForPath(const std::string& idPath, InstanceContent& content) const;
    // Whether the world names content by idpath at all; spares building
    // idpaths in large worlds that carry their content on the instances.
    bool HasContentByPath() const;
    // While a viewable set is in use: true, with the set's component for the
    // idpath (the world's empty one when the set does not name it).
    bool ComponentInViewableSet(const std::string& idPath, du::SmartPtr<qxk::ComponentNode>& component) const;
    // Sets the initial selection of the named scene on a new selection manager.
    void ApplyInitialSelection(const du::Symbol& sceneName, SelectionManager& manager) const;
    du::SmartPtr<PluginHandler> GetPlugin() const { return plugin_; }
    const std::shared_ptr<ModuleCallLog>& ModuleCalls() const { return moduleCalls_; }

    struct AppliedSet {
        du::SmartPtr<qxk::Scene> scene;
        du::Symbol name;
        unsigned int mask = 0;
        bool keepCamera = false;
        std::string eventName;  // GetEventName of the event, "" without one
        int status = -1;        // -1 while being applied
    };
    std::size_t RecordApplied(AppliedSet applied);
    void SetAppliedStatus(std::size_t index, int status);
    std::vector<AppliedSet> AppliedSets() const;
    du::SmartPtr<qxk::AnnoSetTable> SceneManagerTable() const;
    void SetSceneManagerTable(const du::SmartPtr<qxk::AnnoSetTable>& table);
    bool ApplyFails(const du::Symbol& name) const;
    // An application of a held set, by its index in AppliedSets: finish
    // completes it with the status given.
    void HoldApply(std::size_t index, std::function<void(int status)> finish);
    // Completes a held application on the host's worker with status (0: the
    // set is shown); false for an index that is not held or was released.
    bool ReleaseApply(std::size_t index, int status);

    struct WorkflowObservation {
        du::SmartPtr<qxk::View> view;  // null for the workflow-manager side
        du::Symbol workflow;
        du::Symbol message;
        int value = 0;
    };
    void RecordWorkflowObservation(WorkflowObservation observation);
    std::vector<WorkflowObservation> WorkflowObservations() const;
    unsigned RestoredFigureVisibility() const;
    void CountRestoredFigureVisibility();

    // What instances share unless they have their own.
    const du::SmartPtr<Anchor>& SharedAnchor() const { return anchor_; }
    const du::SmartPtr<qxk::ComponentNode>& EmptyComponent() const { return emptyComponent_; }

private:
    const std::string folder_;
    std::atomic<bool> loaderPresent_{true};
    const std::shared_ptr<ModuleCallLog> moduleCalls_;
    const du::SmartPtr<Loader> loader_;
    const du::SmartPtr<PluginHandler> plugin_;
    const du::SmartPtr<Anchor> anchor_;
    const du::SmartPtr<qxk::ComponentNode> emptyComponent_;

    mutable std::mutex mutex_;  // guards everything below
    std::map<du::Symbol, du::SmartPtr<Shape>> shapes_;
    std::unordered_map<std::string, InstanceContent> byPath_;
    std::map<std::string, std::map<std::string, du::SmartPtr<qxk::ComponentNode>>> viewableSets_;
    std::string viewableSetInUse_;
    std::map<du::Symbol, std::map<unsigned int, std::vector<SelectionItemDesc>>> initialSelections_;
    std::vector<du::Symbol> failingSets_;
    du::SmartPtr<qxk::AnnoSetTable> annoSets_;
    std::vector<AppliedSet> applied_;
    std::map<std::size_t, std::function<void(int)>> heldApplies_;
    du::SmartPtr<qxk::AnnoSetTable> sceneManagerTable_;
    std::vector<WorkflowObservation> workflowObservations_;
    unsigned restoredFigureVisibility_ = 0;
};

// The content of the current world, or null when there is no world. A world
// that was given none gets an empty one.
du::SmartPtr<WorldContent> CurrentContent();
du::SmartPtr<WorldContent> ContentOf(qxk::World& world);
// Hangs content on a world; done by the world-file sections and builders.
void AttachContent(qxk::World& world, const du::SmartPtr<WorldContent>& content);

}  // namespace devhost
