// The tree observer's registration and the client's acts on tree nodes.

#include <memory>

#include "commands/WebApiModuleImpl.h"
#include "qxk/ShapeScene.h"
#include "tree/GuiTreeWatcher.h"

namespace webapi {

// Without a shape view active nothing happens, and the client may try again
// later; a second observer while one is registered is dropped. A handle that
// decoded to no tree observer (null, or of another interface) reaches here as
// null: the publisher sends every document to the observer unchecked, so such
// a registration is dropped too, and the client may register a real one.
void WebApiModuleImpl::RegisterTreeObserver(const du::SmartPtr<TreeObserver>& observer) {
    if (treeWatcher || !observer) return;
    const du::SmartPtr<qxk::ShapeScene> scene = GetActiveShapeScene();
    if (!scene) return;
    treeWatcher = new GuiTreeWatcher(du::SmartPtr<dom::ManagedObject>(this), observer, scene);
    treeWatcher->PopulateInstanceMap();
}

// Any handle ends the registered observer.
void WebApiModuleImpl::UnRegisterTreeObserver(const du::SmartPtr<TreeObserver>&) { EndTreeObservation(); }

void WebApiModuleImpl::EndTreeObservation() {
    const std::unique_ptr<GuiTreeWatcher> watcher(treeWatcher);
    treeWatcher = nullptr;
    if (watcher) watcher->Teardown();
}

void WebApiModuleImpl::SelectTreeNodes(const du::Symbol& request) {
    if (treeWatcher) treeWatcher->SelectTreeNodes(request);
}

}  // namespace webapi
