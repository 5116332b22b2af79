#include <vector>

#include "commands/WebApiModuleImpl.h"
#include "qxk/Scene.h"
#include "qxk/View.h"
#include "qxk/Selection.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

// Linking the selections of the scenes starts from nothing selected
// anywhere; unlinking leaves every selection as it is.
void WebApiModuleImpl::SetCrossSelection(bool enable) {
    qxkapp::QxkApp* const app = qxkapp::QxkApp::Get();
    if (!app) return;
    const du::SmartPtr<qxkapp::SceneManager> manager = app->GetSceneManager();
    if (!manager) return;
    if (!enable) {
        manager->DisableCrossSelection();
        return;
    }
    manager->EnableCrossSelection(nullptr);
    for (const du::SmartPtr<qxk::Scene>& scene : manager->GetScenes()) {
        if (!scene) continue;
        du::SmartPtr<qxk::SelectionManager> selection;
        scene->GetSelectionManager(selection);
        if (selection) selection->Clear();
    }
}

}  // namespace webapi
