// The scene manager's operations for annotation sets, the scenes' selection
// managers, and the illustration scene.

#include "devhost/content/AnnoSets.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/PendingEvent.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"
#include "qxk/Instance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/SceneLoadedEvent.h"

namespace {

const devhost::AnnoSetDesc* DescOf(const du::SmartPtr<qxk::AnnoSetTableEntry>& entry) {
    const auto* own = dynamic_cast<const devhost::AnnoSetTableEntry*>(entry.get());
    return own ? &own->GetDesc() : nullptr;
}

// Gives the scene the shape instances that an applied set shows. Instances
// that are not in the tree are passed over, as a viewer skips what it
// cannot find.
void ShowSetShapes(const du::SmartPtr<qxk::ShapeScene>& scene, const du::SmartPtr<qxk::Tree>& tree,
                   const std::vector<devhost::AnnoSetShape>& shapes) {
    if (!scene || !tree) return;
    for (const auto& shape : shapes) {
        du::SmartPtr<qxk::Instance> instance = tree->FindInstance(shape.idPath);
        if (instance)
            scene->AddShapeInstance(instance, shape.visible ? qxk::ShapeScene::AM_Visible : qxk::ShapeScene::AM_Hidden);
    }
}

}  // namespace

namespace qxk {

void Scene::GetSelectionManager(du::SmartPtr<SelectionManager>& manager) const {
    manager = nullptr;
    if (devhost::HitFault("qxk::Scene::GetSelectionManager")) return;
    manager = devhost::SelectionOf(*this);
}

namespace illustration {

void Illustration3dScene::RestoreFigureVisibility() {
    if (devhost::HitFault("qxk::illustration::Illustration3dScene::RestoreFigureVisibility")) return;
    std::set<du::SmartPtr<Instance>> instances;
    GetAllInstances(instances);
    for (const auto& instance : instances) {
        du::SmartPtr<ShapeInstance> shapeInstance;
        if (!GetShapeInstance(instance, shapeInstance) || !shapeInstance) continue;
        shapeInstance->SetVisibility(true, false);
        devhost::RestoreOwnColor(*shapeInstance);
    }
    if (auto content = devhost::CurrentContent()) content->CountRestoredFigureVisibility();
}

}  // namespace illustration
}  // namespace qxk

namespace qxkapp {

void SceneManager::RemoveAllViews(const du::SmartPtr<qxk::Scene>& scene) {
    if (devhost::HitFault("qxkapp::SceneManager::RemoveAllViews")) return;
    devhost::ManagerImpl(*this).RemoveViews(scene);
}

void SceneManager::RemoveAllScenes() {
    if (devhost::HitFault("qxkapp::SceneManager::RemoveAllScenes")) return;
    devhost::ManagerImpl(*this).RemoveScenes();
}

du::SmartPtr<qxk::Scene> SceneManager::CreateScene(const du::SmartPtr<qxk::AnnoSetTableEntry>& entry,
                                                   const du::SmartPtr<qxk::Tree>&) {
    if (devhost::HitFault("qxkapp::SceneManager::CreateScene")) return nullptr;
    // A scene for no set, or for a set of another table, is a plain 3D scene,
    // as a viewer opens a model with no annotation set chosen.
    const devhost::AnnoSetDesc* desc = DescOf(entry);
    const du::Symbol name = entry ? entry->GetName() : du::Symbol("Scene");
    du::SmartPtr<qxk::Scene> scene;
    switch (desc ? desc->sceneKind : devhost::AnnoSetDesc::SceneKind::Shape) {
        case devhost::AnnoSetDesc::SceneKind::Shape: scene = devhost::MakeShapeScene(name); break;
        case devhost::AnnoSetDesc::SceneKind::Illustration3d: scene = devhost::MakeIllustration3dScene(name); break;
        case devhost::AnnoSetDesc::SceneKind::Plain: scene = devhost::MakePlainScene(name); break;
    }
    devhost::ManagerImpl(*this).AddScene(scene);
    return scene;
}

du::SmartPtr<qxk::View> SceneManager::CreateView(const du::SmartPtr<qxk::Scene>& scene,
                                                 const du::SmartPtr<qxk::Window>& window) {
    if (devhost::HitFault("qxkapp::SceneManager::CreateView") || !scene) return nullptr;
    // The view that a viewer opens on a scene of each kind.
    const char* kind = scene->IsATypeOf(qxk::illustration::Illustration3dScene::CLASS_TYPE) ? "illustration"
                       : scene->IsATypeOf(qxk::ShapeScene::CLASS_TYPE)                       ? "shape"
                                                                                               : "document";
    du::SmartPtr<qxk::View> view = devhost::MakeView(scene, devhost::ViewKindNumber(kind), scene->GetName(), window);
    devhost::ManagerImpl(*this).AddView(view);
    return view;
}

void SceneManager::SetAnnotationSetTable(const du::SmartPtr<qxk::AnnoSetTable>& table) {
    if (devhost::HitFault("qxkapp::SceneManager::SetAnnotationSetTable")) return;
    if (auto content = devhost::CurrentContent()) content->SetSceneManagerTable(table);
}

void SceneManager::ApplyAnnotations(const du::SmartPtr<qxk::Scene>& scene,
                                    const du::SmartPtr<qxk::AnnoSetTableEntry>& entry, const du::SmartPtr<qxk::Tree>& tree,
                                    SceneLoadedEvent* event, unsigned int mask, bool keepCamera) {
    if (devhost::HitFault("qxkapp::SceneManager::ApplyAnnotations")) return;
    du::SmartPtr<devhost::WorldContent> content = devhost::CurrentContent();
    if (!content) return;
    const du::Symbol name = entry ? entry->GetName() : du::Symbol();
    const std::size_t index =
        content->RecordApplied({scene, name, mask, keepCamera, event ? event->GetEventName() : "", -1});
    const bool fails = !scene || !entry || content->ApplyFails(name);
    const devhost::AnnoSetDesc* desc = DescOf(entry);
    const std::vector<devhost::AnnoSetShape> shapes = desc ? desc->shapes : std::vector<devhost::AnnoSetShape>();
    // A set applied with no tree takes its instances from the world's.
    du::SmartPtr<qxk::Tree> setTree = tree;
    if (!setTree)
        if (du::SmartPtr<qxk::World> world = qxk::World::GetWorld()) setTree = world->tree;
    const devhost::PendingEvent<SceneLoadedEvent> pending(event);
    // Runs on the host's worker, as a viewer reads a set in the background:
    // the scene shows the set's shapes, then the event reports the end.
    auto finish = [content, index, scene, shapes, setTree, pending](int status) {
        if (status == 0) ShowSetShapes(du::DynamicCast<qxk::ShapeScene>(scene), setTree, shapes);
        content->SetAppliedStatus(index, status);
        const du::SmartPtr<SceneLoadedEvent> reported = pending.Get();
        if (!reported) return;
        if (status == 0)
            reported->Complete();
        else
            reported->CompleteWithError(status);
    };
    if (desc && desc->held)
        content->HoldApply(index, finish);
    else
        devhost::RunOnHostWorker([finish, fails] { finish(fails ? 1 : 0); });
}

}  // namespace qxkapp
