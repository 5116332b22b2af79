#include "devhost/world/WorldModel.h"

#include <atomic>
#include <cstring>
#include <string_view>

#include "devhost/platform/Faults.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/WorldLock.h"
#include "qxk/BaseInstanceVisitor.h"

namespace devhost {

namespace {

std::atomic<std::uint64_t> nextId{1};

du::SmartPtr<WorldModel>& Current() {
    static du::SmartPtr<WorldModel> world;
    return world;
}

}  // namespace

std::uint64_t NextInstanceId() { return nextId.fetch_add(1); }

void ReserveInstanceId(std::uint64_t id) {
    std::uint64_t seen = nextId.load();
    while (seen <= id && !nextId.compare_exchange_weak(seen, id + 1)) {
    }
}

std::string InstanceNode::IdPath() const {
    std::string path;
    WriteIdPath(path);
    return path;
}

// The length first, then the text from its end backwards, both in one walk
// up the parents each: no string and no list is made per segment.
void InstanceNode::WriteIdPath(std::string& path) const {
    std::size_t length = 0;
    const InstanceNode* top = this;
    for (; top->parent; top = top->parent) length += 1 + std::string_view(top->name.safe_c_str()).size();
    const InstanceExtras* kept = top->Extras();
    const std::string_view head = kept && !kept->formerPath.empty() ? std::string_view(kept->formerPath)
                                                                    : std::string_view(top->name.safe_c_str());
    path.resize(head.size() + length);
    char* end = &path[0] + path.size();
    for (const InstanceNode* n = this; n->parent; n = n->parent) {
        const std::string_view segment(n->name.safe_c_str());
        end -= segment.size();
        std::memcpy(end, segment.data(), segment.size());
        *--end = '/';
    }
    std::memcpy(&path[0], head.data(), head.size());
}

void InstanceNode::LeaveParent() {
    if (!parent) return;
    Extras().formerPath = IdPath();
    parent = nullptr;
}

InstanceExtras& InstanceNode::Extras() {
    if (!extras) extras.reset(new InstanceExtras());
    return *extras;
}

InstanceNode::~InstanceNode() {
    // Children that outlive this instance keep their idpaths; a child that
    // dies with it needs its path only for children of its own.
    WorldGuard guard(WorldMutex());
    auto release = [](const std::vector<du::SmartPtr<InstanceNode>>& nodes) {
        for (const auto& child : nodes)
            if (child->GetReferenceCount() > 1 || !child->children.empty() || child->Proxy()) child->LeaveParent();
    };
    release(children);
    if (const ProxyInfo* info = Proxy()) release(info->branch);
    ReleaseNodeSlot(slot);
}

WorldModel::WorldModel(const std::string& actorName, bool withTree)
    : WorldModel(actorName, new TreeModel(), withTree) {}

WorldModel::WorldModel(const std::string& actorName, const du::SmartPtr<TreeModel>& treeModel, bool withTree)
    : qxk::World(withTree ? du::SmartPtr<qxk::Tree>(treeModel) : nullptr, new WindowImpl(du::Symbol(actorName)),
                 new RootContainerImpl()),
      actorName(actorName),
      treeModel_(treeModel) {
    if (withTree) Container().structures.emplace_back(new StructureImpl(du::Symbol("structure"), treeModel_));
}

WorldModel::~WorldModel() = default;

void WorldModel::SetExtension(const std::string& key, const du::SmartPtr<du::RefCounted>& value) {
    WorldGuard guard(WorldMutex());
    extensions_[key] = value;
}

du::SmartPtr<du::RefCounted> WorldModel::GetExtension(const std::string& key) const {
    WorldGuard guard(WorldMutex());
    auto it = extensions_.find(key);
    return it == extensions_.end() ? nullptr : it->second;
}

void SetCurrentWorld(const du::SmartPtr<WorldModel>& world) {
    du::SmartPtr<WorldModel> old;
    {
        WorldGuard guard(WorldMutex());
        old = Current();
        Current() = world;
    }
    if (old && old != world) {
        TreeChange cleared;
        cleared.cleared = true;
        old->Tree().NotifyTree(cleared);
    }
    if (old != world) NoteHostChange({HostChange::Kind::World});
}

du::SmartPtr<WorldModel> MakeWorld(const std::string& actorName, bool withTree) {
    du::SmartPtr<WorldModel> world(new WorldModel(actorName, withTree));
    SetCurrentWorld(world);
    return world;
}

void DropWorld() { SetCurrentWorld(nullptr); }

du::SmartPtr<WorldModel> CurrentWorld() {
    WorldGuard guard(WorldMutex());
    return Current();
}

}  // namespace devhost

// The host operations of the world and its structure.

namespace qxk {

World::World(const du::SmartPtr<Tree>& worldTree, const du::SmartPtr<Window>& worldWindow,
             const du::SmartPtr<MultiRootContainer>& container)
    : tree(worldTree), window(worldWindow), rootContainer(container) {}

World::~World() = default;

du::SmartPtr<World> World::GetWorld() {
    if (devhost::HitFault("qxk::World::GetWorld")) return nullptr;
    return devhost::CurrentWorld();
}

du::Symbol World::GetActorName() const {
    if (devhost::HitFault("qxk::World::GetActorName")) return du::Symbol();
    return du::Symbol(static_cast<const devhost::WorldModel*>(this)->actorName);
}

du::Symbol Window::GetTitle() const { return static_cast<const devhost::WindowImpl*>(this)->title; }

du::Symbol Structure::GetName() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return static_cast<const devhost::StructureImpl*>(this)->name;
}

void Structure::GetTree(du::SmartPtr<Tree>& result) const {
    result = static_cast<const devhost::StructureImpl*>(this)->tree;
}

bool MultiRootContainer::GetPrimaryStructure(du::SmartPtr<Structure>& structure) const {
    structure = nullptr;
    if (devhost::HitFault("qxk::MultiRootContainer::GetPrimaryStructure")) return false;
    devhost::WorldGuard guard(devhost::WorldMutex());
    const auto& all = static_cast<const devhost::RootContainerImpl*>(this)->structures;
    if (all.empty()) return false;
    structure = all.front();
    return true;
}

void MultiRootContainer::GetStructures(std::vector<du::SmartPtr<Structure>>& result) const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    for (const auto& s : static_cast<const devhost::RootContainerImpl*>(this)->structures) result.emplace_back(s);
}

}  // namespace qxk
