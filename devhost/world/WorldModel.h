#pragma once

#include <map>
#include <string>

#include "devhost/world/TreeModel.h"
#include "qxk/MultiRootContainer.h"
#include "qxk/Structure.h"
#include "qxk/Window.h"
#include "qxk/World.h"

namespace devhost {

class WindowImpl : public qxk::Window {
public:
    explicit WindowImpl(const du::Symbol& title) : title(title) {}
    const du::Symbol title;
};

class StructureImpl : public qxk::Structure {
public:
    StructureImpl(const du::Symbol& name, const du::SmartPtr<TreeModel>& tree) : name(name), tree(tree) {}
    du::Symbol name;  // under the world lock
    const du::SmartPtr<TreeModel> tree;
};

class RootContainerImpl : public qxk::MultiRootContainer {
public:
    std::vector<du::SmartPtr<StructureImpl>> structures;  // under the world lock
};

// The devhost's world. The tree, window and container are fixed for its
// life; what is in them changes under the world lock. A world starts with
// its primary structure, named "structure", whose tree is the world's tree.
// A world made without a tree shows none to the host's callers
// (qxk::World::tree is null, and it has no structure); its tree model stays
// for the host's own parts and is never filled.
class WorldModel : public qxk::World {
public:
    explicit WorldModel(const std::string& actorName, bool withTree = true);
    ~WorldModel() override;

    const std::string actorName;
    TreeModel& Tree() const { return *treeModel_; }
    RootContainerImpl& Container() const { return static_cast<RootContainerImpl&>(*rootContainer); }

    // State that other host parts attach to the world; it goes with it.
    void SetExtension(const std::string& key, const du::SmartPtr<du::RefCounted>& value);
    du::SmartPtr<du::RefCounted> GetExtension(const std::string& key) const;

private:
    WorldModel(const std::string& actorName, const du::SmartPtr<TreeModel>& treeModel, bool withTree);

    const du::SmartPtr<TreeModel> treeModel_;
    std::map<std::string, du::SmartPtr<du::RefCounted>> extensions_;
};

inline WorldModel& Model(qxk::World& world) { return static_cast<WorldModel&>(world); }

// The world of the process. Making one replaces the one before; the tree of
// a world that goes tells its listeners that it was cleared.
void SetCurrentWorld(const du::SmartPtr<WorldModel>& world);
du::SmartPtr<WorldModel> MakeWorld(const std::string& actorName, bool withTree = true);
void DropWorld();
du::SmartPtr<WorldModel> CurrentWorld();

}  // namespace devhost
