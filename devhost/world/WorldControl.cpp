#include "devhost/world/WorldControl.h"

#include <algorithm>

#include "devhost/world/HostChanges.h"
#include "devhost/world/WorldLock.h"

namespace devhost {

namespace {

// The current world's tree, under the lock, or null.
TreeModel* CurrentTree() {
    du::SmartPtr<WorldModel> world = CurrentWorld();
    return world ? &world->Tree() : nullptr;
}

}  // namespace

InstanceNode* AddInstanceAt(const std::string& parentIdPath, const std::string& name) {
    InstancesChange change = ChangeInstances({}, {{parentIdPath, name}});
    return change.done ? change.added.front() : nullptr;
}

bool RemoveInstanceAt(const std::string& idPath) { return ChangeInstances({idPath}, {}).done; }

namespace {

bool InsideBranch(const std::string& idPath, const std::string& branch) {
    return idPath.compare(0, branch.size(), branch) == 0 &&
           (idPath.size() == branch.size() || idPath[branch.size()] == '/');
}

// Checks the removals and makes the additions, under the world lock. The
// additions go in before anything is removed so that a failing one is undone
// by taking out only what this change made.
bool AttachAll(TreeModel& tree, const std::vector<std::string>& removeIdPaths,
               const std::vector<NewInstance>& additions, TreeChange& change, InstancesChange& result) {
    for (const std::string& path : removeIdPaths)
        if (!tree.Find(path)) {
            result.failure = "no instance \"" + path + "\"";
            return false;
        }
    for (const NewInstance& addition : additions) {
        const std::string& parentPath = addition.parentIdPath;
        InstanceNode* parent = nullptr;
        const bool valid = !addition.name.empty() && addition.name.find('/') == std::string::npos &&
                           (parentPath.empty() || (parent = tree.Find(parentPath))) &&
                           std::none_of(removeIdPaths.begin(), removeIdPaths.end(),
                                        [&](const std::string& gone) { return InsideBranch(parentPath, gone); });
        du::SmartPtr<InstanceNode> node;
        if (valid) node = new InstanceNode(NextInstanceId(), du::Symbol(addition.name));
        if (!valid || !tree.Attach(parent, node, &change)) {
            result.failure = "cannot add \"" + addition.name + "\" under \"" + parentPath + "\"";
            TreeChange undone;
            for (auto made = result.added.rbegin(); made != result.added.rend(); ++made) tree.Detach(**made, undone);
            result.added.clear();
            return false;
        }
        result.added.push_back(node.get());
    }
    return true;
}

}  // namespace

InstancesChange ChangeInstances(const std::vector<std::string>& removeIdPaths,
                                const std::vector<NewInstance>& additions) {
    InstancesChange result;
    du::SmartPtr<WorldModel> world = CurrentWorld();
    if (!world || (!additions.empty() && !world->tree)) {
        result.failure = "the world has no tree";
        return result;
    }
    TreeChange change;
    std::vector<du::SmartPtr<qxk::Scene>> scenes;
    if (auto manager = CurrentSceneManager()) scenes = manager->GetScenes();
    {
        WorldGuard guard(WorldMutex());
        TreeModel& tree = world->Tree();
        if (!AttachAll(tree, removeIdPaths, additions, change, result)) return result;
        for (const std::string& path : removeIdPaths)
            // A path inside a branch removed before it is gone already.
            if (InstanceNode* node = tree.Find(path)) tree.Detach(*node, change);
        for (const auto& scene : scenes) {
            HostChange removed(HostChange::Kind::ShapesRemoved, scene);
            for (const auto& gone : change.removed)
                if (scene->GetSceneState().shapes.Remove(gone.get())) removed.ids.push_back(gone->uid);
            if (!removed.ids.empty()) NoteHostChange(removed);
        }
        NextWorldGeneration();
    }
    world->Tree().NotifyTree(change);
    result.done = true;
    return result;
}

du::SmartPtr<WorldModel> UseWorldWithoutTree() {
    du::SmartPtr<WorldModel> present = CurrentWorld();
    return MakeWorld(present ? present->actorName : "world", false);
}

InstanceNode* FindInstanceAt(const std::string& idPath) {
    WorldGuard guard(WorldMutex());
    TreeModel* tree = CurrentTree();
    return tree ? tree->Find(idPath) : nullptr;
}

InstanceNode* FindInstanceById(std::uint64_t id) {
    WorldGuard guard(WorldMutex());
    TreeModel* tree = CurrentTree();
    if (!tree) return nullptr;
    std::vector<InstanceNode*> stack;
    for (const auto& root : tree->roots) stack.push_back(root.get());
    while (!stack.empty()) {
        InstanceNode* node = stack.back();
        stack.pop_back();
        if (node->uid == id) return node;
        for (const auto& child : node->children) stack.push_back(child.get());
    }
    return nullptr;
}

namespace {

// Sets or clears the override, and tells every scene's listeners, as a
// change of the instance's visibility would.
bool Override(const std::string& idPath, bool overridden, int state) {
    std::vector<du::SmartPtr<qxk::Scene>> scenes;
    if (auto manager = CurrentSceneManager()) scenes = manager->GetScenes();
    du::SmartPtr<qxk::Instance> changed;
    {
        WorldGuard guard(WorldMutex());
        InstanceNode* node = FindInstanceAt(idPath);
        if (!node) return false;
        node->overridden = overridden;
        if (overridden) node->Extras().visibilityOverride = state;
        changed = node;
        for (const auto& scene : scenes) NoteChange(*scene, changed);
    }
    for (const auto& scene : scenes) FlushChanges(*scene);
    return true;
}

}  // namespace

bool SetVisibilityOverride(const std::string& idPath, int state) { return Override(idPath, true, state); }

bool ClearVisibilityOverride(const std::string& idPath) { return Override(idPath, false, 0); }

du::SmartPtr<qxk::Scene> FindSceneNamed(const std::string& name) {
    auto manager = CurrentSceneManager();
    if (!manager) return nullptr;
    for (const auto& scene : manager->GetScenes())
        if (scene->GetName() == name.c_str()) return scene;
    return nullptr;
}

du::SmartPtr<qxk::View> FindViewNamed(const std::string& name) {
    auto manager = CurrentSceneManager();
    if (!manager) return nullptr;
    WorldGuard guard(WorldMutex());
    for (const auto& view : manager->views)
        if (view->GetViewState().name == name.c_str()) return view;
    return nullptr;
}

bool ActivateView(const std::string& viewName) {
    auto manager = CurrentSceneManager();
    if (!manager) return false;
    du::SmartPtr<qxk::View> view;
    if (!viewName.empty() && !(view = FindViewNamed(viewName))) return false;
    return manager->SetActiveView(view, true);
}

bool ShowInstance(const std::string& sceneName, const std::string& idPath, bool visible) {
    auto scene = du::DynamicCast<qxk::ShapeScene>(FindSceneNamed(sceneName));
    InstanceNode* node = FindInstanceAt(idPath);
    if (!scene || !node) return false;
    return SetShapeVisible(*scene, du::SmartPtr<qxk::Instance>(node), visible);
}

ShapeRecord ShapeOf(const std::string& sceneName, const std::string& idPath) {
    ShapeRecord record;
    auto scene = du::DynamicCast<qxk::ShapeScene>(FindSceneNamed(sceneName));
    InstanceNode* node = FindInstanceAt(idPath);
    if (!scene || !node) return record;
    auto shape = FindShape(*scene, node);
    if (!shape) return record;
    WorldGuard guard(WorldMutex());
    record.present = true;
    record.visible = shape->visible;
    record.color = shape->color;
    record.colorCalls = shape->colorCalls;
    return record;
}

UpdateGroupRecord UpdateGroupsOf(const qxk::Observable& observable) {
    WorldGuard guard(WorldMutex());
    const auto& state = observable.GetObservableState();
    UpdateGroupRecord record;
    record.begun = state.groupsBegun;
    record.ended = state.groupsEnded;
    record.notifications = state.notifications;
    record.depth = state.depth;
    return record;
}

std::vector<AddShapeCall> AddShapeCallsOf(const qxk::Scene& scene) {
    WorldGuard guard(WorldMutex());
    return scene.GetSceneState().addCalls;
}

void ClearCallRecords() {
    std::vector<du::SmartPtr<qxk::Scene>> scenes;
    if (auto manager = CurrentSceneManager()) scenes = manager->GetScenes();
    WorldGuard guard(WorldMutex());
    for (const auto& scene : scenes) {
        auto& state = scene->GetSceneState();
        state.addCalls.clear();
        for (auto& shape : state.shapes) shape.second->colorCalls.clear();
    }
}

CrossSelectionRecord CrossSelection() {
    CrossSelectionRecord record;
    auto manager = CurrentSceneManager();
    if (!manager) return record;
    WorldGuard guard(WorldMutex());
    record.on = manager->crossSelection;
    record.lead = manager->crossSelectionLead;
    record.enables = manager->crossSelectionEnables;
    record.disables = manager->crossSelectionDisables;
    return record;
}

}  // namespace devhost
