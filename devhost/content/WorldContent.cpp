#include "devhost/content/WorldContent.h"

#include <algorithm>

#include "devhost/content/ContentWorldFile.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldModel.h"

namespace devhost {
namespace {

const char kContentKey[] = "content";

}  // namespace

WorldContent::WorldContent(std::string folder)
    : folder_(std::move(folder)),
      moduleCalls_(std::make_shared<ModuleCallLog>()),
      loader_(new Loader(folder_)),
      plugin_(new PluginHandler),
      anchor_(new Anchor(folder_)),
      emptyComponent_(new ComponentNode({})) {}

void WorldContent::AddEcadModule() {
    loader_->AddModule("ecadapi", "ecad", "ecadapi", new EcadModule(moduleCalls_));
}

void WorldContent::AddWebIpcModule() {
    loader_->AddModule("webipc", "ipc", "default", new WebIpcModule(moduleCalls_));
}

void WorldContent::AddIllustrateModule(const du::Symbol& profiles) {
    loader_->AddModule("webapi", "illustrate", "default",
                       new IllustrateModule(moduleCalls_, "illustrate", "qxkapp::illustration::IllWebApi", profiles));
}

void WorldContent::AddSchematicModule(const du::Symbol& profiles) {
    loader_->AddModule("webapi", "schematic", "default",
                       new SchematicModule(moduleCalls_, "schematic", "qxkapp::illustration::SchWebApi", profiles));
}

void WorldContent::AddShape(const du::SmartPtr<Shape>& shape) {
    std::lock_guard<std::mutex> lock(mutex_);
    shapes_[shape->GetName()] = shape;
}

du::SmartPtr<Shape> WorldContent::FindShape(const du::Symbol& name) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = shapes_.find(name);
    return found == shapes_.end() ? nullptr : found->second;
}

void WorldContent::SetAnnoSets(const std::vector<AnnoSetDesc>& sets) {
    du::SmartPtr<qxk::AnnoSetTable> table(new AnnoSetTable(sets));
    std::lock_guard<std::mutex> lock(mutex_);
    annoSets_ = table;
}

void WorldContent::SetContentForPath(const std::string& idPath, const InstanceContent& content) {
    std::lock_guard<std::mutex> lock(mutex_);
    byPath_[idPath] = content;
}

bool WorldContent::ContentForPath(const std::string& idPath, InstanceContent& content) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = byPath_.find(idPath);
    if (found == byPath_.end()) return false;
    content = found->second;
    return true;
}

void WorldContent::AddToViewableSet(const std::string& set, const std::string& idPath,
                                    const du::SmartPtr<qxk::ComponentNode>& component) {
    std::lock_guard<std::mutex> lock(mutex_);
    viewableSets_[set][idPath] = component;
}

bool WorldContent::UseViewableSet(const std::string& set) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!set.empty() && viewableSets_.count(set) == 0) return false;
    viewableSetInUse_ = set;
    return true;
}

bool WorldContent::ComponentInViewableSet(const std::string& idPath,
                                          du::SmartPtr<qxk::ComponentNode>& component) const {
    std::lock_guard<std::mutex> lock(mutex_);
    if (viewableSetInUse_.empty()) return false;
    const auto& set = viewableSets_.at(viewableSetInUse_);
    auto found = set.find(idPath);
    component = found == set.end() ? emptyComponent_ : found->second;
    return true;
}

bool WorldContent::HasContentByPath() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !byPath_.empty();
}

void WorldContent::SetInitialSelection(const du::Symbol& sceneName, unsigned int selectionSet,
                                       std::vector<SelectionItemDesc> items) {
    std::lock_guard<std::mutex> lock(mutex_);
    initialSelections_[sceneName][selectionSet] = std::move(items);
}

void WorldContent::ApplyInitialSelection(const du::Symbol& sceneName, SelectionManager& manager) const {
    std::map<unsigned int, std::vector<SelectionItemDesc>> sets;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = initialSelections_.find(sceneName);
        if (found == initialSelections_.end()) return;
        sets = found->second;
    }
    for (const auto& set : sets) manager.SetSelection(set.first, set.second);
}

du::SmartPtr<Loader> WorldContent::GetLoader() const { return loaderPresent_ ? loader_ : nullptr; }

du::SmartPtr<qxk::AnnoSetTable> WorldContent::GetAnnoSetTable() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return annoSets_;
}

void WorldContent::SetApplyFails(const du::Symbol& name) {
    std::lock_guard<std::mutex> lock(mutex_);
    failingSets_.push_back(name);
}

std::size_t WorldContent::RecordApplied(AppliedSet applied) {
    std::size_t index;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        applied_.push_back(std::move(applied));
        index = applied_.size() - 1;
    }
    NoteHostChange({HostChange::Kind::AppliedSet, nullptr, nullptr, nullptr, {}, {}, static_cast<int>(index)});
    return index;
}

void WorldContent::SetAppliedStatus(std::size_t index, int status) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (index < applied_.size()) applied_[index].status = status;
    }
    NoteHostChange({HostChange::Kind::AppliedSet, nullptr, nullptr, nullptr, {}, {}, static_cast<int>(index)});
}

std::vector<WorldContent::AppliedSet> WorldContent::AppliedSets() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return applied_;
}

du::SmartPtr<qxk::AnnoSetTable> WorldContent::SceneManagerTable() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sceneManagerTable_;
}

void WorldContent::SetSceneManagerTable(const du::SmartPtr<qxk::AnnoSetTable>& table) {
    std::lock_guard<std::mutex> lock(mutex_);
    sceneManagerTable_ = table;
}

bool WorldContent::ApplyFails(const du::Symbol& name) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::find(failingSets_.begin(), failingSets_.end(), name) != failingSets_.end();
}

void WorldContent::HoldApply(std::size_t index, std::function<void(int status)> finish) {
    std::lock_guard<std::mutex> lock(mutex_);
    heldApplies_[index] = std::move(finish);
}

bool WorldContent::ReleaseApply(std::size_t index, int status) {
    std::function<void(int)> finish;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = heldApplies_.find(index);
        if (found == heldApplies_.end()) return false;
        finish = std::move(found->second);
        heldApplies_.erase(found);
    }
    RunOnHostWorker([finish, status] { finish(status); });
    return true;
}

void WorldContent::RecordWorkflowObservation(WorkflowObservation observation) {
    std::lock_guard<std::mutex> lock(mutex_);
    workflowObservations_.push_back(std::move(observation));
}

std::vector<WorldContent::WorkflowObservation> WorldContent::WorkflowObservations() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return workflowObservations_;
}

unsigned WorldContent::RestoredFigureVisibility() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return restoredFigureVisibility_;
}

void WorldContent::CountRestoredFigureVisibility() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++restoredFigureVisibility_;
}

du::SmartPtr<WorldContent> ContentOf(qxk::World& world) {
    WorldGuard guard(WorldMutex());
    du::SmartPtr<du::RefCounted> extension = Model(world).GetExtension(kContentKey);
    du::SmartPtr<WorldContent> content(dynamic_cast<WorldContent*>(extension.get()));
    if (!content) {
        // Made on first use: by the first content section of a world file,
        // or for a world without content, which still has what every viewer
        // has (a loader, selections, labels) but no files or modules.
        content = new WorldContent(ContentLoadFolder());
        Model(world).SetExtension(kContentKey, content);
    }
    return content;
}

du::SmartPtr<WorldContent> CurrentContent() {
    du::SmartPtr<WorldModel> world = CurrentWorld();
    return world ? ContentOf(*world) : nullptr;
}

void AttachContent(qxk::World& world, const du::SmartPtr<WorldContent>& content) {
    Model(world).SetExtension(kContentKey, content);
}

}  // namespace devhost
