// Operations of the world and the application that reach the content:
// annotation sets, the plug-in link, the loader, the observers and labels.

#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldModel.h"
#include "qxannotations/Label.h"
#include "qxkapp/PSBSelectionObserver.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/ViewerWorkflowManagerObserverImpl.h"
#include "qxloader/Loader.h"

namespace qxk {

du::SmartPtr<AnnoSetTable> World::GetAnnoSetTable() {
    if (devhost::HitFault("qxk::World::GetAnnoSetTable")) return nullptr;
    return devhost::ContentOf(*this)->GetAnnoSetTable();
}

}  // namespace qxk

namespace qxkapp {

// The plug-in link belongs to the session of the world that is open.
du::SmartPtr<qxplugin::PluginHandlerIf> QxkApp::GetPluginIf() {
    if (devhost::HitFault("qxkapp::QxkApp::GetPluginIf")) return nullptr;
    du::SmartPtr<devhost::WorldContent> content = devhost::CurrentContent();
    return content ? content->GetPlugin() : nullptr;
}

PSBSelectionObserver::PSBSelectionObserver(const du::SmartPtr<qxplugin::PluginHandlerIf>& plugin, bool includeEmpty)
    : plugin_(plugin), includeEmpty_(includeEmpty) {}

PSBSelectionObserver::~PSBSelectionObserver() = default;

void PSBSelectionObserver::OnSelectionChanged(unsigned int selectionSet, std::size_t itemCount) const {
    if (plugin_ && (itemCount > 0 || includeEmpty_)) plugin_->OnSelectionChanged(selectionSet);
}

ViewerWorkflowManagerObserverImpl::ViewerWorkflowManagerObserverImpl() = default;

ViewerWorkflowManagerObserverImpl::~ViewerWorkflowManagerObserverImpl() = default;

void ViewerWorkflowManagerObserverImpl::OnViewerWorkflowMessage(const du::SmartPtr<qxk::View>& view,
                                                                const du::Symbol& workflow,
                                                                const du::Symbol& message) {
    if (auto content = devhost::CurrentContent()) content->RecordWorkflowObservation({view, workflow, message, 0});
}

void ViewerWorkflowManagerObserverImpl::OnWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message,
                                                          int value) {
    if (auto content = devhost::CurrentContent())
        content->RecordWorkflowObservation({nullptr, workflow, message, value});
}

}  // namespace qxkapp

namespace qxloader {

// A viewer without a loader opens no web views (classes 0x7f and 0x8d), so
// the module asks it for their module without testing it. A world here may
// take its loader away ("present": false) for the paths that do test it;
// such a world is not to make a web view active.
du::SmartPtr<Loader> Loader::GetLoader() {
    if (devhost::HitFault("qxloader::Loader::GetLoader")) return nullptr;
    du::SmartPtr<devhost::WorldContent> content = devhost::CurrentContent();
    return content ? content->GetLoader() : nullptr;
}

}  // namespace qxloader

namespace qxannotations {

Label::Label(const LabelInfo& info) : info_(info) {}

Label::~Label() = default;

void Label::AttachToScene(const du::SmartPtr<qxk::Scene>& scene) {
    if (devhost::HitFault("qxannotations::Label::AttachToScene") || !scene) return;
    devhost::AttachLabel(*scene, du::SmartPtr<Label>(this));
}

}  // namespace qxannotations
