#pragma once

#include <vector>

#include "dom/ManagedObject.h"
#include "dom/Message.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"
#include "remote/WebApiModule.h"

class GuiTreeWatcher;

namespace qxk {
class BaseInstanceVisitor;
class ShapeScene;
}  // namespace qxk

namespace qxkapp {
class SceneManager;
class ViewerWorkflowManagerObserverImpl;
class PSBSelectionObserver;
}  // namespace qxkapp

namespace webapi {

class ShapeSceneLoader;

// The object behind the remote interface: it receives every request on the
// actor thread and holds all state between requests. Requests are served one
// at a time, so nothing here is locked.
class WebApiModuleImpl : public virtual WebApiModule, public virtual dom::ManagedObject {
public:
    WebApiModuleImpl();
    ~WebApiModuleImpl() override;

    short GetTableOffset(int) override { return 0; }

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) Result Name Parameters override;
#include "remote/WebApiModule.def"

    short BaseClassOffsetByName(const du::Symbol& name) const override;
    int GetBaseClassCount() const override;
    int GetBaseClassParent(int index) const override;
    du::Symbol GetBaseClass(int index) override;
    void HandleMessage(const dom::MessagePtr& message) override;
    void HandleTimeoutEvent(long long timerId) override;
    void OnManage() override;

    // The active view's scene if that view is a shape view, else null.
    du::SmartPtr<qxk::ShapeScene> GetActiveShapeScene();

protected:
    // Left to the host's side of the module: no command reads or writes it.
    struct ExtensionRecord {
        du::Symbol name;
        du::Symbol value;
    };

    du::SmartPtr<qxkapp::SceneManager> sceneManager;
    du::SmartPtr<qxkapp::ViewerWorkflowManagerObserverImpl> workflowObserver;
    du::SmartPtr<qxkapp::PSBSelectionObserver> selectionObserver;
    qxk::BaseInstanceVisitor* viewableVisitor;  // the latest request's, never freed
    int outstandingFigures;
    du::SmartPtr<ViewablesRequest> viewablesRequest;
    int viewablesRequestId;
    GuiTreeWatcher* treeWatcher;  // owned; null while no observer is registered
    du::Symbol extensionName;
    bool extensionFlag;
    std::vector<ExtensionRecord> extensionRecords;
    du::SmartPtr<ShapeSceneLoader> sceneLoader;
};

}  // namespace webapi
