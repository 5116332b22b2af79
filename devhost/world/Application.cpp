#include "devhost/world/Application.h"

#include <algorithm>
#include <memory>

#include "devhost/platform/Faults.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldModel.h"

namespace devhost {

namespace {

struct Applications {
    ApplicationImpl* current = nullptr;
    std::vector<std::unique_ptr<ApplicationImpl>> all;
    std::vector<std::pair<int, ActiveViewListener>> listeners;
    int nextListener = 1;
};

Applications& Apps() {
    static Applications apps;
    return apps;
}

void NotifyActiveView(const du::SmartPtr<qxk::View>& view) {
    std::vector<ActiveViewListener> listeners;
    {
        WorldGuard guard(WorldMutex());
        for (const auto& l : Apps().listeners) listeners.push_back(l.second);
    }
    for (const auto& listener : listeners) listener(view);
}

}  // namespace

void SceneManagerImpl::AddScene(const du::SmartPtr<qxk::Scene>& scene) {
    WorldGuard guard(WorldMutex());
    if (scene && std::find(scenes.begin(), scenes.end(), scene) == scenes.end()) scenes.push_back(scene);
}

void SceneManagerImpl::AddView(const du::SmartPtr<qxk::View>& view) {
    WorldGuard guard(WorldMutex());
    if (!view || std::find(views.begin(), views.end(), view) != views.end()) return;
    views.push_back(view);
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    AddScene(scene);
    NoteHostChange({HostChange::Kind::Views});
}

void SceneManagerImpl::RemoveViews(const du::SmartPtr<qxk::Scene>& scene) {
    std::vector<du::SmartPtr<qxk::View>> gone;
    bool activeGone = false;
    {
        WorldGuard guard(WorldMutex());
        auto keep = std::stable_partition(views.begin(), views.end(), [&](const du::SmartPtr<qxk::View>& v) {
            return scene && v->GetViewState().scene != scene;
        });
        gone.assign(keep, views.end());
        views.erase(keep, views.end());
        if (active && std::find(gone.begin(), gone.end(), active) != gone.end()) {
            active = nullptr;
            activeGone = true;
        }
        for (const auto& view : gone) RetireView(view);
    }
    if (!gone.empty()) NoteHostChange({HostChange::Kind::Views});
    if (activeGone) NotifyActiveView(nullptr);
}

void SceneManagerImpl::RemoveScenes() {
    RemoveViews(nullptr);
    WorldGuard guard(WorldMutex());
    scenes.clear();
}

ApplicationImpl::ApplicationImpl() : sceneManager(new SceneManagerImpl()) {}

ApplicationImpl::~ApplicationImpl() { sceneManager->RemoveScenes(); }

ApplicationImpl& MakeApplication() {
    WorldGuard guard(WorldMutex());
    Applications& apps = Apps();
    if (!apps.current) {
        apps.all.emplace_back(new ApplicationImpl());
        apps.current = apps.all.back().get();
    }
    return *apps.current;
}

void DropApplication() {
    ApplicationImpl* app;
    {
        WorldGuard guard(WorldMutex());
        app = Apps().current;
        Apps().current = nullptr;
    }
    if (app) app->sceneManager->RemoveScenes();  // breaks the links between scenes and views
}

ApplicationImpl* CurrentApplication() {
    WorldGuard guard(WorldMutex());
    return Apps().current;
}

du::SmartPtr<SceneManagerImpl> CurrentSceneManager() {
    WorldGuard guard(WorldMutex());
    return Apps().current ? Apps().current->sceneManager : nullptr;
}

int AddActiveViewListener(ActiveViewListener listener) {
    WorldGuard guard(WorldMutex());
    Apps().listeners.emplace_back(Apps().nextListener, std::move(listener));
    return Apps().nextListener++;
}

void RemoveActiveViewListener(int id) {
    WorldGuard guard(WorldMutex());
    auto& listeners = Apps().listeners;
    listeners.erase(std::remove_if(listeners.begin(), listeners.end(), [id](const auto& l) { return l.first == id; }),
                    listeners.end());
}

}  // namespace devhost

namespace qxkapp {

QxkApp::QxkApp() = default;
QxkApp::~QxkApp() = default;

// A viewer has its application, with its scene manager, from before it
// loads any plug-in until after it has unloaded them all, and the module
// reaches the active view through both without testing them. Here there is
// none only before the first world is loaded and after a test drops it;
// the main job and the tests that call such commands load the world first
// and drop it only once the plug-in has ended.
QxkApp* QxkApp::Get() {
    if (devhost::HitFault("qxkapp::QxkApp::Get")) return nullptr;
    return devhost::CurrentApplication();
}

du::SmartPtr<SceneManager> QxkApp::GetSceneManager() {
    if (devhost::HitFault("qxkapp::QxkApp::GetSceneManager")) return nullptr;
    return devhost::AppImpl(*this).sceneManager;
}

void QxkApp::GetWorld(du::SmartPtr<qxk::World>& world) {
    world = nullptr;
    if (devhost::HitFault("qxkapp::QxkApp::GetWorld")) return;
    world = devhost::CurrentWorld();
}

du::SmartPtr<qxk::View> SceneManager::GetActiveView() {
    if (devhost::HitFault("qxkapp::SceneManager::GetActiveView")) return nullptr;
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::ManagerImpl(*this).active;
}

bool SceneManager::SetActiveView(const du::SmartPtr<qxk::View>& view, bool notify) {
    if (devhost::HitFault("qxkapp::SceneManager::SetActiveView")) return false;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        auto& self = devhost::ManagerImpl(*this);
        if (view && std::find(self.views.begin(), self.views.end(), view) == self.views.end()) return false;
        self.activeNotified = notify;
        if (self.active == view) return true;
        self.active = view;
    }
    devhost::NotifyActiveView(view);
    return true;
}

std::vector<du::SmartPtr<qxk::Scene>> SceneManager::GetScenes() {
    if (devhost::HitFault("qxkapp::SceneManager::GetScenes")) return {};
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::ManagerImpl(*this).scenes;
}

std::vector<du::SmartPtr<qxk::View>> SceneManager::GetViews() {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::ManagerImpl(*this).views;
}

void SceneManager::EnableCrossSelection(du::SmartPtr<qxk::View> view) {
    if (devhost::HitFault("qxkapp::SceneManager::EnableCrossSelection")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    auto& self = devhost::ManagerImpl(*this);
    self.crossSelection = true;
    self.crossSelectionLead = view;
    ++self.crossSelectionEnables;
}

void SceneManager::DisableCrossSelection() {
    if (devhost::HitFault("qxkapp::SceneManager::DisableCrossSelection")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    auto& self = devhost::ManagerImpl(*this);
    self.crossSelection = false;
    self.crossSelectionLead = nullptr;
    ++self.crossSelectionDisables;
}

}  // namespace qxkapp
