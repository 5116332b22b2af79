#include "commands/WebApiModuleImpl.h"
#include "qxk/ShapeScene.h"
#include "qxk/ShapeView.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

// Asks the view's kind before its scene, so another kind of view is never
// asked for one; the scene loader's own asks in the other order, and each
// keeps its order of host calls.
du::SmartPtr<qxk::ShapeScene> WebApiModuleImpl::GetActiveShapeScene() {
    if (!sceneManager) return nullptr;
    const du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    if (!view || !view->IsATypeOf(qxk::ShapeView::CLASS_TYPE)) return nullptr;
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    return du::DynamicCast<qxk::ShapeScene>(scene);
}

}  // namespace webapi
