#pragma once

#include <ostream>
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
class SelectionItemRepresentation;
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

    // Appends the selection document of the representations to out; nothing
    // for none.
    void WriteSelectionDocument(std::ostream& out,
                                const std::vector<du::SmartPtr<qxk::SelectionItemRepresentation>>& representations);
    // Answers the latest viewables request with every viewable it found.
    void SendViewables();
    // A thumbnail fetch of a viewables request has ended, well or not.
    void OnThumbnailFetched(int index, const du::Symbol& path);
    // The active view's scene if that view is a shape view, else null.
    du::SmartPtr<qxk::ShapeScene> GetActiveShapeScene();

protected:
    // Tears the tree watcher down, if there is one, and deletes it. It
    // leaves the module first, so that a teardown that throws ends the
    // registration all the same.
    void EndTreeObservation();

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
