#include "devhost/world/SceneModel.h"

#include <algorithm>

#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/Concrete.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/InstanceNode.h"
#include "devhost/world/WorldLock.h"
#include "qxk/illustration/Illustration3dScene.h"

namespace devhost {

du::SmartPtr<qxk::ShapeScene> MakeShapeScene(const du::Symbol& name) {
    return du::SmartPtr<qxk::ShapeScene>(new Concrete<qxk::ShapeScene>(name));
}

du::SmartPtr<qxk::ShapeScene> MakeIllustration3dScene(const du::Symbol& name) {
    return du::SmartPtr<qxk::ShapeScene>(new Concrete<qxk::illustration::Illustration3dScene>(name));
}

du::SmartPtr<qxk::Scene> MakePlainScene(const du::Symbol& name) {
    return du::SmartPtr<qxk::Scene>(new Concrete<qxk::Scene>(name));
}

void NoteChange(qxk::Observable& observable, const du::SmartPtr<qxk::Instance>& instance) {
    NextWorldGeneration();
    observable.GetObservableState().changed.push_back(instance);
}

void FlushChanges(qxk::Observable& observable) {
    std::vector<du::SmartPtr<qxk::Instance>> changed;
    std::vector<SceneListener> listeners;
    {
        WorldGuard guard(WorldMutex());
        auto& state = observable.GetObservableState();
        if (state.depth > 0 || state.changed.empty()) return;
        changed.swap(state.changed);
        ++state.notifications;
        for (const auto& l : state.listeners) listeners.push_back(l.second);
    }
    for (const auto& listener : listeners) listener(changed);
    if (auto* scene = HostChangesObserved() ? dynamic_cast<qxk::Scene*>(&observable) : nullptr)
        NoteHostChange({HostChange::Kind::Shapes, CountedIfAlive(scene), nullptr, nullptr, std::move(changed)});
}

int AddSceneListener(qxk::Observable& observable, SceneListener listener) {
    WorldGuard guard(WorldMutex());
    auto& state = observable.GetObservableState();
    state.listeners.emplace_back(state.nextListener, std::move(listener));
    return state.nextListener++;
}

void RemoveSceneListener(qxk::Observable& observable, int id) {
    WorldGuard guard(WorldMutex());
    auto& listeners = observable.GetObservableState().listeners;
    listeners.erase(std::remove_if(listeners.begin(), listeners.end(), [id](const auto& l) { return l.first == id; }),
                    listeners.end());
}

void RestoreOwnColor(qxk::ShapeInstance& shape) {
    WorldGuard guard(WorldMutex());
    ShapeInstanceImpl& self = Impl(shape);
    if (!self.painted) return;
    self.color = dg::Color();
    self.painted = false;
    if (self.scene)
        NoteHostChange({HostChange::Kind::Shapes, CountedIfAlive<qxk::Scene>(self.scene), nullptr, nullptr, {self.instance}});
}

du::SmartPtr<ShapeInstanceImpl> FindShape(const qxk::ShapeScene& scene, const qxk::Instance* instance) {
    WorldGuard guard(WorldMutex());
    return scene.GetSceneState().shapes.Find(instance);
}

bool SetShapeVisible(qxk::ShapeScene& scene, const du::SmartPtr<qxk::Instance>& instance, bool visible) {
    if (!instance) return false;
    {
        WorldGuard guard(WorldMutex());
        auto& shapes = scene.GetSceneState().shapes;
        if (ShapeInstanceImpl* shape = shapes.Find(instance.get())) {
            if (shape->visible == visible) return true;
            shape->visible = visible;
        } else {
            shapes.Add(instance.get(), new ShapeInstanceImpl(instance, &scene, visible));
            if (HostChangesObserved())
                NoteHostChange({HostChange::Kind::ShapesAdded, CountedIfAlive(&scene), nullptr, nullptr, {instance}});
        }
        NoteChange(scene, instance);
    }
    FlushChanges(scene);
    return true;
}

}  // namespace devhost

namespace qxk {

Observable::Observable() : observableState_(new State()) {}
Observable::~Observable() { delete observableState_; }

void Observable::BeginUpdateGroup() {
    if (devhost::HitFault("qxk::Observable::BeginUpdateGroup")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    ++observableState_->depth;
    ++observableState_->groupsBegun;
}

void Observable::EndUpdateGroup() {
    if (devhost::HitFault("qxk::Observable::EndUpdateGroup")) return;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        if (observableState_->depth == 0) return;  // an end without a begin changes nothing
        --observableState_->depth;
        ++observableState_->groupsEnded;
    }
    devhost::FlushChanges(*this);
}

bool Observable::IsInUpdateGroup() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return observableState_->depth > 0;
}

// A new scene may take the place in memory of one that has gone.
Scene::Scene(const du::Symbol& name) : sceneState_(new State()) {
    sceneState_->name = name;
    devhost::NextWorldGeneration();
}

Scene::~Scene() {
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        for (auto& entry : sceneState_->shapes) entry.second->scene = nullptr;
    }
    delete sceneState_;
}

du::SmartPtr<View> Scene::GetView(unsigned int index) {
    if (devhost::HitFault("qxk::Scene::GetView")) return nullptr;
    devhost::WorldGuard guard(devhost::WorldMutex());
    return index < sceneState_->views.size() ? sceneState_->views[index] : nullptr;
}

unsigned int Scene::GetNumViews() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return static_cast<unsigned int>(sceneState_->views.size());
}

du::Symbol Scene::GetName() const { return sceneState_->name; }

ShapeScene::ShapeScene(const du::Symbol& name) : Scene(name) {}
ShapeScene::~ShapeScene() = default;

void ShapeScene::GetNumShapeInstances(unsigned int& count) const {
    if (devhost::HitFault("qxk::ShapeScene::GetNumShapeInstances")) {
        count = 0;
        return;
    }
    devhost::WorldGuard guard(devhost::WorldMutex());
    count = static_cast<unsigned int>(GetSceneState().shapes.size());
}

bool ShapeScene::GetShapeInstance(const du::ConstSmartPtr<Instance>& instance,
                                  du::SmartPtr<ShapeInstance>& shapeInstance) const {
    shapeInstance = nullptr;
    if (devhost::HitFault("qxk::ShapeScene::GetShapeInstance")) return false;
    shapeInstance = devhost::FindShape(*this, instance.get());
    return static_cast<bool>(shapeInstance);
}

du::SmartPtr<ShapeInstance> ShapeScene::AddShapeInstance(const du::SmartPtr<Instance>& instance, int mode) {
    if (devhost::HitFault("qxk::ShapeScene::AddShapeInstance")) return nullptr;
    if (!instance) return nullptr;
    du::SmartPtr<ShapeInstance> result;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        State& state = GetSceneState();
        state.addCalls.push_back({instance, mode});
        // Only what the structure holds can be shown: an instance of an
        // unread branch, or one taken out of the tree, gets no shape instance.
        if (!devhost::Node(*instance).tree) return nullptr;
        if (devhost::ShapeInstanceImpl* present = state.shapes.Find(instance.get())) return present;
        du::SmartPtr<devhost::ShapeInstanceImpl> made(
            new devhost::ShapeInstanceImpl(instance, this, mode != AM_Hidden));
        state.shapes.Add(instance.get(), made);
        devhost::NoteChange(*this, instance);
        if (devhost::HostChangesObserved())
            devhost::NoteHostChange(
                {devhost::HostChange::Kind::ShapesAdded, devhost::CountedIfAlive(this), nullptr, nullptr, {instance}});
        result = made;
    }
    devhost::FlushChanges(*this);
    return result;
}

void ShapeScene::GetAllInstances(std::set<du::SmartPtr<Instance>>& instances) const {
    if (devhost::HitFault("qxk::ShapeScene::GetAllInstances")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    for (const auto& entry : GetSceneState().shapes) instances.insert(entry.second->instance);
}

void ShapeInstance::SetVisibility(bool visible, bool branch) {
    if (devhost::HitFault("qxk::ShapeInstance::SetVisibility")) return;
    du::SmartPtr<ShapeScene> scene;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        devhost::ShapeInstanceImpl& self = devhost::Impl(*this);
        if (!self.scene) {
            self.visible = visible;
            return;
        }
        scene = self.scene;
        std::vector<devhost::InstanceNode*> targets{&devhost::Node(*self.instance)};
        for (std::size_t i = 0; branch && i < targets.size(); ++i)
            for (const auto& child : targets[i]->children) targets.push_back(child.get());
        auto& shapes = scene->GetSceneState().shapes;
        for (devhost::InstanceNode* node : targets) {
            devhost::ShapeInstanceImpl* shape = shapes.Find(node);
            if (!shape || shape->visible == visible) continue;
            shape->visible = visible;
            devhost::NoteChange(*scene, shape->instance);
        }
    }
    devhost::FlushChanges(*scene);
}

bool ShapeInstance::IsVisible() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::Impl(*this).visible;
}

void ShapeInstance::SetColor(const dg::Color& color, bool temporary, bool redraw) {
    if (devhost::HitFault("qxk::ShapeInstance::SetColor")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::ShapeInstanceImpl& self = devhost::Impl(*this);
    self.color = color;
    self.painted = true;
    self.colorCalls.push_back({color, temporary, redraw});
    if (self.scene && devhost::HostChangesObserved())
        devhost::NoteHostChange({devhost::HostChange::Kind::Shapes, devhost::CountedIfAlive<Scene>(self.scene), nullptr,
                                 nullptr, {self.instance}});
}

dg::Color ShapeInstance::GetColor() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::Impl(*this).color;
}

du::SmartPtr<Instance> ShapeInstance::GetInstance() const { return devhost::Impl(*this).instance; }

du::SmartPtr<ShapeScene> ShapeInstance::GetScene() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    ShapeScene* scene = devhost::Impl(*this).scene;
    // A scene on its way out (count at zero) is no longer handed out.
    return devhost::CountedIfAlive(scene);
}

}  // namespace qxk
