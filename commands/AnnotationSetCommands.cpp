// Annotation sets and labels: listing the world's sets, loading one into
// the viewer (the scene kept or rebuilt), and adding text labels.
#include <string>
#include <vector>

#include "commands/ApplicationWorld.h"
#include "commands/WebApiModuleImpl.h"
#include "qxannotations/Label.h"
#include "qxannotations/LabelInfo.h"
#include "qxk/AnnoSetTable.h"
#include "qxk/Scene.h"
#include "qxk/Selection.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/View.h"
#include "qxk/Window.h"
#include "qxk/WorkflowManager.h"
#include "qxkapp/PSBSelectionObserver.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneLoadedEvent.h"
#include "qxkapp/SceneManager.h"
#include "qxkapp/ViewerWorkflowManagerObserverImpl.h"
#include "qxplugin/PluginHandlerIf.h"

namespace webapi {
namespace {

// Tells the application's plug-in link when a set has been applied.
class ApplyAnnotationsEvent : public qxkapp::SceneLoadedEvent {
public:
    explicit ApplyAnnotationsEvent(WebApiModuleImpl* owner) : module(owner) {}

    const char* GetEventName() const override { return "ApplyAnnotationsEvent"; }

    void OnComplete(int status) override {
        qxkapp::QxkApp* const app = qxkapp::QxkApp::Get();
        if (!app) return;
        const du::SmartPtr<qxplugin::PluginHandlerIf> plugin = app->GetPluginIf();
        if (plugin) plugin->OnAnnotationsApplied(status == 0);
    }

private:
    [[maybe_unused]] WebApiModuleImpl* module;
};

// The world's annotation sets in table order; false without an application,
// a world or a table. The plug-in link is asked for as a loader of a set
// needs it, also where it is not used.
bool AnnotationSets(du::SmartPtr<qxk::AnnoSetTable>& table,
                    std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>>& entries) {
    qxkapp::QxkApp* const app = qxkapp::QxkApp::Get();
    if (!app) return false;
    app->GetPluginIf();
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return false;
    table = world->GetAnnoSetTable();
    if (!table) return false;
    table->GetEntries(entries, qxk::AnnoSetContentAll);
    return true;
}

}  // namespace

unsigned int WebApiModuleImpl::GetNumberOfAnnotationSets() {
    du::SmartPtr<qxk::AnnoSetTable> table;
    std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>> entries;
    if (!AnnotationSets(table, entries)) return 0;
    return static_cast<unsigned int>(entries.size());
}

du::Symbol WebApiModuleImpl::GetAnnotationSetName(unsigned int index) {
    du::SmartPtr<qxk::AnnoSetTable> table;
    std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>> entries;
    if (!AnnotationSets(table, entries) || index >= entries.size() || !entries[index]) return du::Symbol();
    return entries[index]->GetName();
}

void WebApiModuleImpl::LoadAnnotationSet(const du::Symbol& name) {
    qxkapp::QxkApp* const app = qxkapp::QxkApp::Get();
    if (!app) return;
    const du::SmartPtr<qxplugin::PluginHandlerIf> plugin = app->GetPluginIf();
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return;
    const du::SmartPtr<qxk::AnnoSetTable> table = world->GetAnnoSetTable();
    // Without a scene manager (the module not yet managed) there is no
    // viewer to load into.
    if (!table || !sceneManager) return;

    du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    du::SmartPtr<qxk::Scene> scene;
    if (view) view->GetScene(scene);
    du::SmartPtr<qxk::AnnoSetTableEntry> entry;
    if (!table->GetAnnotationEntry(name, qxk::AnnoSetContentAll, entry)) return;
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    const du::SmartPtr<qxk::Window> window = world->window;

    // Only a set of the model itself can go onto the shape scene shown.
    const bool keep = scene && view && dynamic_cast<qxk::ShapeScene*>(scene.get()) && entry &&
                      entry->GetPropName() == "model";
    if (!keep) {
        sceneManager->RemoveAllViews(nullptr);
        sceneManager->RemoveAllScenes();
        scene = sceneManager->CreateScene(entry, tree);
        view = sceneManager->CreateView(scene, window);
    }
    sceneManager->SetAnnotationSetTable(table);

    const du::SmartPtr<ApplyAnnotationsEvent> event(new ApplyAnnotationsEvent(this));
    ManageObject(du::SmartPtr<dom::ManagedObject>(event.get()));
    sceneManager->ApplyAnnotations(scene, entry, tree, event.get(), 0xbfff, false);
    sceneManager->SetActiveView(view, false);

    const du::SmartPtr<qxk::ShapeScene> shapeScene = du::DynamicCast<qxk::ShapeScene>(scene);
    if (!shapeScene) return;
    // Observers of earlier loads stay registered: a kept scene holds them all.
    du::SmartPtr<qxk::SelectionManager> selection;
    shapeScene->GetSelectionManager(selection);
    selectionObserver = new qxkapp::PSBSelectionObserver(plugin, false);
    ManageObject(du::SmartPtr<dom::ManagedObject>(selectionObserver.get()));
    if (selection) selection->RegisterObserver(0, *selectionObserver);

    workflowObserver = new qxkapp::ViewerWorkflowManagerObserverImpl();
    ManageObject(du::SmartPtr<dom::ManagedObject>(workflowObserver.get()));
    du::SmartPtr<qxk::WorkflowManager> workflows;
    if (view) view->GetWorkflowManager(workflows);
    if (!workflows) return;
    workflows->AddViewerObserver(du::SmartPtr<qxkapp::ViewerWorkflowManagerObserver>(workflowObserver.get()));
    workflows->AddWorkflowObserver(du::SmartPtr<qxk::WorkflowManagerObserver>(workflowObserver.get()));
}

void WebApiModuleImpl::AddAnnotationLabel(const du::Symbol& text, double first, double second, double third) {
    if (!sceneManager) return;
    const du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    if (!view) return;
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);

    qxannotations::LabelInfo info;
    info.x = first;
    info.y = second;
    info.z = third;
    info.textRows = std::vector<qxannotations::LabelTextRow>{{0, text.str()}};
    // Held only for the call: the scene keeps the label it takes.
    const du::SmartPtr<qxannotations::Label> label(new qxannotations::Label(info));
    label->AttachToScene(scene);
}

}  // namespace webapi
