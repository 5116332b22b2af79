#include "commands/WebApiModuleImpl.h"

#include "loader/ShapeSceneLoader.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxkapp/PSBSelectionObserver.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"
#include "qxkapp/ViewerWorkflowManagerObserverImpl.h"
#include "remote/InterfaceTable.h"
#include "remote/WebApiModuleDispatch.h"
#include "tree/GuiTreeWatcher.h"

namespace webapi {

WebApiModuleImpl::WebApiModuleImpl()
    : viewableVisitor(nullptr),
      outstandingFigures(0),
      viewablesRequestId(0),
      treeWatcher(nullptr),
      extensionFlag(false) {}

// The actor's stop hook tears down a watcher still registered, so one left
// here never ran on an actor: it goes first, without host calls. Members go
// in reverse order, the scene loader first and the scene manager last. The
// observers stay registered with the host: they are only released. The
// latest viewables visitor goes with the module, as no fetch holds it.
WebApiModuleImpl::~WebApiModuleImpl() {
    delete treeWatcher;
    delete viewableVisitor;
}

short WebApiModuleImpl::BaseClassOffsetByName(const du::Symbol& name) const {
    return remote::BaseClassOffsetOf<WebApiModule>(name);
}

int WebApiModuleImpl::GetBaseClassCount() const { return 1; }

int WebApiModuleImpl::GetBaseClassParent(int) const { return -1; }

du::Symbol WebApiModuleImpl::GetBaseClass(int index) { return remote::BaseClassOf<WebApiModule>(index); }

void WebApiModuleImpl::HandleMessage(const dom::MessagePtr& message) {
    if (message->GetMethodTable() != 0) {
        RejectWebApiModuleTable(message);
        return;
    }
    // Keeps the module alive for the whole call.
    du::SmartPtr<WebApiModule> self(this);
    DispatchWebApiModuleMessage(message, self);
}

void WebApiModuleImpl::HandleTimeoutEvent(long long) {}

void WebApiModuleImpl::OnManage() {
    if (qxkapp::QxkApp* const app = qxkapp::QxkApp::Get()) sceneManager = app->GetSceneManager();
    // Made also without an application: the loader then finds no scene.
    sceneLoader = new ShapeSceneLoader(sceneManager);
    ManageObject(du::SmartPtr<dom::ManagedObject>(sceneLoader.get()));
}

void WebApiModuleImpl::LoadInstances(const du::Symbol& request) {
    if (sceneLoader) sceneLoader->LoadInstances(request);
}

void WebApiModuleImpl::UnloadInstances(const du::Symbol& request) {
    if (sceneLoader) sceneLoader->UnloadInstances(request);
}

}  // namespace webapi
