// Instance colour: painting instances of the active shape view, reading an
// instance's colour back, and restoring the figures of an illustration.
#include <set>
#include <sstream>
#include <vector>

#include "commands/ApplicationWorld.h"
#include "commands/ColourText.h"
#include "commands/ModuleTrace.h"
#include "commands/WebApiModuleImpl.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/ShapeView.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/SceneManager.h"

namespace webapi {
namespace {

// Collects the instances of a branch, each once, in the set's order.
class ShapeEnumerator : public qxk::InstanceVisitor {
public:
    bool VisitInstance(const du::SmartPtr<qxk::Instance>& instance) override {
        instances.insert(instance);
        return true;
    }

    std::set<du::SmartPtr<qxk::Instance>> instances;
};


}  // namespace

void WebApiModuleImpl::SetInstancesColor(const std::vector<du::Symbol>& ids, bool branch, const du::Symbol& color) {
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return;
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    if (!tree) {
        ModuleTracer()(dp::TT_Error) << "OnSetInstancesColor - No tree\n";
        return;
    }
    unsigned int value = 0;
    if (!ParseColourText(color, value)) {
        ModuleTracer()(dp::TT_Error) << "OnSetInstancesColor - color is encoded incorrectly: " << color;
        return;
    }
    for (const du::Symbol& id : ids) {
        const du::SmartPtr<qxk::Instance> instance = tree->FindInstance(id);
        // The view is asked anew for every idpath. Before the module is
        // managed there is no scene manager, and so no view.
        const du::SmartPtr<qxk::View> view = sceneManager ? sceneManager->GetActiveView() : nullptr;
        if (!view) continue;
        du::SmartPtr<qxk::Scene> scene;
        view->GetScene(scene);
        if (!view->IsATypeOf(qxk::ShapeView::CLASS_TYPE) || !instance) continue;

        ShapeEnumerator enumerator;
        if (branch)
            instance->Visit(enumerator, qxk::BaseInstance::VT_DepthFirst);
        else
            enumerator.instances.insert(instance);
        const du::SmartPtr<qxk::ShapeScene> shapeScene = du::DynamicCast<qxk::ShapeScene>(scene);
        for (const auto& each : enumerator.instances) {
            if (!shapeScene) continue;
            du::SmartPtr<qxk::ShapeInstance> shapeInstance;
            shapeScene->GetShapeInstance(each, shapeInstance);
            if (shapeInstance) shapeInstance->SetColor(dg::Color(value), false, true);
        }
    }
}

du::Symbol WebApiModuleImpl::GetInstanceColor(const du::Symbol& id) {
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return du::Symbol();
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    if (!tree) {
        // The getter shares the setter's words.
        ModuleTracer()(dp::TT_Error) << "OnSetInstancesColor - No tree\n";
        return du::Symbol();
    }
    const du::SmartPtr<qxk::Instance> instance = tree->FindInstance(id);
    const du::SmartPtr<qxk::View> view = sceneManager ? sceneManager->GetActiveView() : nullptr;
    if (!view) return du::Symbol();
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    if (!view->IsATypeOf(qxk::ShapeView::CLASS_TYPE) || !instance || !scene) return du::Symbol();
    const du::SmartPtr<qxk::ShapeScene> shapeScene = du::DynamicCast<qxk::ShapeScene>(scene);
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    if (shapeScene) shapeScene->GetShapeInstance(instance, shapeInstance);
    if (!shapeInstance) return du::Symbol();

    std::stringstream text;
    WriteColourText(text, shapeInstance->GetColor());
    du::Symbol result;
    result.Read(text);
    return result;
}

void WebApiModuleImpl::RestoreInstancesVisibility() {
    // Without a scene manager (the module not yet managed) there is no view
    // to act on.
    if (!sceneManager) return;
    const du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    if (!view) return;
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    if (auto* illustration = dynamic_cast<qxk::illustration::Illustration3dScene*>(scene.get()))
        illustration->RestoreFigureVisibility();
}

}  // namespace webapi
