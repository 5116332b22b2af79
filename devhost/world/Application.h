#pragma once

#include <functional>
#include <vector>

#include "du/SmartPtr.h"
#include "qxk/Scene.h"
#include "qxk/View.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace devhost {

// The scene manager of the devhost application. Guarded by the world lock.
class SceneManagerImpl : public qxkapp::SceneManager {
public:
    std::vector<du::SmartPtr<qxk::Scene>> scenes;
    std::vector<du::SmartPtr<qxk::View>> views;
    du::SmartPtr<qxk::View> active;
    bool activeNotified = false;  // the notify flag of the last SetActiveView
    bool crossSelection = false;
    du::SmartPtr<qxk::View> crossSelectionLead;
    unsigned int crossSelectionEnables = 0;
    unsigned int crossSelectionDisables = 0;

    void AddScene(const du::SmartPtr<qxk::Scene>& scene);
    // Adds the view, and its scene if the manager does not hold it yet.
    void AddView(const du::SmartPtr<qxk::View>& view);
    // With a null scene every view goes. The active view goes with its view.
    void RemoveViews(const du::SmartPtr<qxk::Scene>& scene);
    // Every scene goes, and every view with them.
    void RemoveScenes();
};

class ApplicationImpl : public qxkapp::QxkApp {
public:
    ApplicationImpl();
    ~ApplicationImpl() override;
    const du::SmartPtr<SceneManagerImpl> sceneManager;
};

inline SceneManagerImpl& ManagerImpl(qxkapp::SceneManager& manager) {
    return static_cast<SceneManagerImpl&>(manager);
}
inline ApplicationImpl& AppImpl(qxkapp::QxkApp& app) { return static_cast<ApplicationImpl&>(app); }

// The application of the process. Making one while there is one gives that
// one. A dropped application is no longer given by QxkApp::Get; it stays in
// memory until the process ends, since callers hold it by a plain pointer.
ApplicationImpl& MakeApplication();
void DropApplication();
ApplicationImpl* CurrentApplication();
// The current application's scene manager, or null.
du::SmartPtr<SceneManagerImpl> CurrentSceneManager();

// Told of every change of the active view, with the new view (maybe null).
using ActiveViewListener = std::function<void(const du::SmartPtr<qxk::View>& view)>;
int AddActiveViewListener(ActiveViewListener listener);
void RemoveActiveViewListener(int id);

}  // namespace devhost
