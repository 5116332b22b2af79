#include "devhost/world/WorldBuilder.h"

#include <stdexcept>

#include "devhost/platform/MessageResources.h"
#include "devhost/world/Application.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldLock.h"

namespace devhost {

WorldBuilder::WorldBuilder(const std::string& actorName, bool withTree)
    : world_(new WorldModel(actorName, withTree)) {}

WorldBuilder::~WorldBuilder() {
    if (published_) return;
    for (const auto& view : views_) RetireView(view);  // scenes and views hold each other
}

InstanceNode& WorldBuilder::AddInstance(InstanceNode* parent, const std::string& name, std::uint64_t uid) {
    if (name.empty() || name.find('/') != std::string::npos)
        throw std::invalid_argument("instance name \"" + name + "\" must be non-empty and hold no \"/\"");
    if (!world_->tree) throw std::invalid_argument("a world with no tree has no instances");
    if (uid != 0) {
        if (!explicitIds_.insert(uid).second || (lowestAuto_ != 0 && uid >= lowestAuto_ && uid <= highestAuto_))
            throw std::invalid_argument("id " + std::to_string(uid) + " is used twice");
        ReserveInstanceId(uid);
    } else {
        uid = NextInstanceId();
        if (lowestAuto_ == 0) lowestAuto_ = uid;
        highestAuto_ = uid;
    }
    du::SmartPtr<InstanceNode> node(new InstanceNode(uid, du::Symbol(name)));
    WorldGuard guard(WorldMutex());
    // Outside the tree: the unread branch of a proxy, or an instance inside one.
    std::vector<du::SmartPtr<InstanceNode>>* unread = nullptr;
    if (ProxyInfo* proxy = parent ? parent->UnreadProxy() : nullptr)
        unread = &proxy->branch;
    else if (parent && !parent->tree)
        unread = &parent->children;
    if (unread) {
        for (const auto& sibling : *unread)
            if (sibling->name == node->name)
                throw std::invalid_argument("name \"" + name + "\" is taken under " + parent->IdPath());
        node->parent = parent;
        unread->push_back(node);
        NextWorldGeneration();
        return *node;
    }
    if (!world_->Tree().Attach(parent, node, nullptr))
        throw std::invalid_argument("name \"" + name + "\" is taken" + (parent ? " under " + parent->IdPath() : ""));
    return *node;
}

void WorldBuilder::MakeProxy(InstanceNode& node, ProxyOutcome outcome, ProxyCompletion completion,
                             ProxyStart start) {
    WorldGuard guard(WorldMutex());
    if (!node.children.empty())
        throw std::invalid_argument("instance " + node.IdPath() + " has children and cannot become a proxy");
    ProxyInfo& info = *(node.Extras().proxy = std::make_unique<ProxyInfo>());
    info.outcome = outcome;
    info.completion = completion;
    info.expanded = start == ProxyStart::Expanded;
    info.failed = start == ProxyStart::Failed;
    info.expandable = start != ProxyStart::Unexpandable;
}

InstanceNode* WorldBuilder::Find(const std::string& idPath) const {
    WorldGuard guard(WorldMutex());
    return world_->Tree().Find(idPath);
}

du::SmartPtr<qxk::ShapeScene> WorldBuilder::AddShapeScene(const std::string& name) {
    du::SmartPtr<qxk::ShapeScene> scene = MakeShapeScene(du::Symbol(name));
    AddScene(scene);
    return scene;
}

void WorldBuilder::AddScene(const du::SmartPtr<qxk::Scene>& scene) {
    if (!scene) throw std::invalid_argument("a null scene");
    if (FindScene(scene->GetName().safe_c_str()))
        throw std::invalid_argument("scene name \"" + scene->GetName().str() + "\" is used twice");
    scenes_.push_back(scene);
}

du::SmartPtr<qxk::Scene> WorldBuilder::FindScene(const std::string& name) const {
    for (const auto& scene : scenes_)
        if (scene->GetName() == name.c_str()) return scene;
    return nullptr;
}

du::SmartPtr<qxk::View> WorldBuilder::AddView(const du::SmartPtr<qxk::Scene>& scene, unsigned int classNumber,
                                              const std::string& name) {
    if (FindView(name)) throw std::invalid_argument("view name \"" + name + "\" is used twice");
    du::SmartPtr<qxk::View> view = MakeView(scene, classNumber, du::Symbol(name), world_->window);
    views_.push_back(view);
    return view;
}

du::SmartPtr<qxk::View> WorldBuilder::FindView(const std::string& name) const {
    WorldGuard guard(WorldMutex());
    for (const auto& view : views_)
        if (view->GetViewState().name == name.c_str()) return view;
    return nullptr;
}

void WorldBuilder::AddShape(qxk::ShapeScene& scene, InstanceNode& instance, bool visible) {
    SetShapeVisible(scene, du::SmartPtr<qxk::Instance>(&instance), visible);
}

void WorldBuilder::AddShape(qxk::ShapeScene& scene, InstanceNode& instance, bool visible, const dg::Color& color) {
    AddShape(scene, instance, visible);
    WorldGuard guard(WorldMutex());
    ShapeInstanceImpl* shape = scene.GetSceneState().shapes.Find(&instance);
    shape->color = color;
    shape->painted = true;
}

void WorldBuilder::Place(InstanceNode& instance, const du::SmartPtr<ShapeGeometry>& shape, const Transform& transform) {
    du::SmartPtr<WorldGeometry> geometry = GeometryOf(*world_);
    if (placedShapes_.insert(shape.get()).second) geometry->shapes.push_back(shape);
    geometry->placements[instance.uid] = Placement{shape, transform};
}

void WorldBuilder::AddMessages(const std::string& resource, const std::map<std::string, std::string>& texts) {
    for (const auto& entry : texts) messages_[resource][entry.first] = entry.second;
}

du::SmartPtr<WorldModel> WorldBuilder::Publish() {
    if (published_) throw std::logic_error("a world builder publishes once");
    published_ = true;
    {
        WorldGuard guard(WorldMutex());
        auto& structures = world_->Container().structures;
        if (!structures.empty()) structures.front()->name = du::Symbol(structureName_);
    }
    for (const auto& resource : messages_) RegisterMessageResource(resource.first, resource.second);
    SetCurrentWorld(world_);
    ApplicationImpl& app = MakeApplication();
    app.sceneManager->RemoveScenes();
    for (const auto& scene : scenes_) app.sceneManager->AddScene(scene);
    for (const auto& view : views_) app.sceneManager->AddView(view);
    app.sceneManager->SetActiveView(activeView_, true);
    return world_;
}

}  // namespace devhost
