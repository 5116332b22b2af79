#pragma once

// Control and inspection of the development host's world, for tests and
// tools. Fault injection is devhost/platform/Faults.h: every world operation
// has a fault point named after it, e.g. "qxkapp::SceneManager::GetActiveView".

#include <cstdint>
#include <string>
#include <vector>

#include "devhost/world/Application.h"
#include "devhost/world/Expansion.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldModel.h"

namespace devhost {

// Structure of the current world at run time; each change reaches the
// tree's listeners (and so the tree models) like a host change would.
// A new instance under parentIdPath ("" for a root), or null when the parent
// is unknown, the name taken or the world has no tree.
InstanceNode* AddInstanceAt(const std::string& parentIdPath, const std::string& name);
// Takes a branch out of the tree, and its shape instances out of every scene
// of the application. False for an unknown idpath.
bool RemoveInstanceAt(const std::string& idPath);
// Several instances taken out and added as one change of the tree, which its
// listeners hear of once: the branches at removeIdPaths go (with their shape
// instances in every scene), and the additions are made in order, so one may
// go under an instance added before it. All or nothing: an unknown idpath,
// an unknown parent, a parent inside a branch being removed, or a name taken
// (also by an instance that the same change removes) leaves the tree as it
// was, and failure says which.
struct NewInstance {
    std::string parentIdPath;  // "" for a root
    std::string name;
};
struct InstancesChange {
    bool done = false;
    std::vector<InstanceNode*> added;  // in the order of the additions
    std::string failure;
};
InstancesChange ChangeInstances(const std::vector<std::string>& removeIdPaths,
                                const std::vector<NewInstance>& additions);
InstanceNode* FindInstanceAt(const std::string& idPath);
// By id, searching the whole tree; null when none has it.
InstanceNode* FindInstanceById(std::uint64_t id);
// Forces the visibility state that tree models give an instance, any
// integer (0, or 10 and more, included), until cleared. Tree models hear of
// it as of a visibility change in each scene. False for an unknown idpath.
bool SetVisibilityOverride(const std::string& idPath, int state);
// The instance's state comes from the rule again.
bool ClearVisibilityOverride(const std::string& idPath);

// Makes the world of the process one with no tree (qxk::World::tree is
// null and it has no structure), under the present world's actor name
// ("world" without one). The application keeps its scenes and views; tree
// models of the world before are told that it was cleared.
du::SmartPtr<WorldModel> UseWorldWithoutTree();

// Scenes and views of the application, by name.
du::SmartPtr<qxk::Scene> FindSceneNamed(const std::string& name);
du::SmartPtr<qxk::View> FindViewNamed(const std::string& name);
// Makes the named view active ("" for none). False for an unknown name.
bool ActivateView(const std::string& viewName);
// Shows or hides an instance in a shape scene, giving it a shape instance if
// it has none. False for an unknown scene or idpath.
bool ShowInstance(const std::string& sceneName, const std::string& idPath, bool visible);

struct ShapeRecord {
    bool present = false;
    bool visible = false;
    dg::Color color;
    std::vector<ColorCall> colorCalls;
};
ShapeRecord ShapeOf(const std::string& sceneName, const std::string& idPath);

struct UpdateGroupRecord {
    unsigned int begun = 0;
    unsigned int ended = 0;
    unsigned int notifications = 0;  // observers told, once per outermost group with changes
    int depth = 0;                   // groups open now
};
UpdateGroupRecord UpdateGroupsOf(const qxk::Observable& observable);
std::vector<AddShapeCall> AddShapeCallsOf(const qxk::Scene& scene);
// Forgets the calls recorded so far (AddShapeCallsOf, ShapeOf's colorCalls)
// in every scene of the application; a long run would otherwise keep one
// record per call.
void ClearCallRecords();

struct CrossSelectionRecord {
    bool on = false;
    du::SmartPtr<qxk::View> lead;
    unsigned int enables = 0;
    unsigned int disables = 0;
};
// Cross selection of the current application; all off without one.
CrossSelectionRecord CrossSelection();

}  // namespace devhost
