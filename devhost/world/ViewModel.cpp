#include "devhost/world/ViewModel.h"

#include <algorithm>

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/Concrete.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/WorldLock.h"
#include "qxk/DocumentView.h"
#include "qxk/DrawingView.h"
#include "qxk/IllustrationView.h"
#include "qxk/ImageView.h"
#include "qxk/ShapeView.h"

namespace devhost {

namespace {

WorkflowManagerImpl& Workflows(qxk::WorkflowManager& manager) { return static_cast<WorkflowManagerImpl&>(manager); }

du::SmartPtr<qxk::View> NewView(unsigned int classNumber) {
    switch (classNumber) {
        case qxk::ShapeView::CLASS_TYPE.GetNumber(): return new Concrete<qxk::ShapeView>();
        case qxk::DrawingView::CLASS_TYPE.GetNumber(): return new Concrete<qxk::DrawingView>();
        case qxk::ImageView::CLASS_TYPE.GetNumber(): return new Concrete<qxk::ImageView>();
        case qxk::DocumentView::CLASS_TYPE.GetNumber(): return new Concrete<qxk::DocumentView>();
        case qxk::IllustrationView::CLASS_TYPE.GetNumber(): return new Concrete<qxk::IllustrationView>();
        default: return new Concrete<qxk::View>(classNumber);
    }
}

}  // namespace

unsigned int ViewKindNumber(const std::string& kind) {
    if (kind == "shape") return qxk::ShapeView::CLASS_TYPE.GetNumber();
    if (kind == "drawing") return qxk::DrawingView::CLASS_TYPE.GetNumber();
    if (kind == "image") return qxk::ImageView::CLASS_TYPE.GetNumber();
    if (kind == "document") return qxk::DocumentView::CLASS_TYPE.GetNumber();
    if (kind == "illustration") return qxk::IllustrationView::CLASS_TYPE.GetNumber();
    return 0;
}

du::SmartPtr<qxk::View> MakeView(const du::SmartPtr<qxk::Scene>& scene, unsigned int classNumber,
                                 const du::Symbol& name, const du::SmartPtr<qxk::Window>& window) {
    du::SmartPtr<qxk::View> view = NewView(classNumber);
    WorldGuard guard(WorldMutex());
    auto& state = view->GetViewState();
    state.name = name;
    state.scene = scene;
    state.window = window;
    if (scene) scene->GetSceneState().views.push_back(view);
    return view;
}

void AddViewClass(qxk::View& view, unsigned int classNumber) {
    WorldGuard guard(WorldMutex());
    view.GetViewState().alsoOf.push_back(classNumber);
}

void RetireView(const du::SmartPtr<qxk::View>& view) {
    WorldGuard guard(WorldMutex());
    auto& state = view->GetViewState();
    if (!state.scene) return;
    auto& views = state.scene->GetSceneState().views;
    views.erase(std::remove(views.begin(), views.end(), view), views.end());
    state.scene = nullptr;
}

du::SmartPtr<ShapeViewerImpl> ViewerOf(const qxk::View& view) {
    WorldGuard guard(WorldMutex());
    return view.GetViewState().viewer;
}

void SetViewerProgress(const qxk::View& view, ViewerProgress mode) {
    WorldGuard guard(WorldMutex());
    if (auto viewer = view.GetViewState().viewer) viewer->mode = mode;
}

int ReportViewerProgress(const qxk::View& view, unsigned char percentage, bool finish) {
    std::vector<unsigned long long> ids;
    {
        WorldGuard guard(WorldMutex());
        auto viewer = view.GetViewState().viewer;
        if (!viewer) return 0;
        ids = viewer->running;
        if (finish) viewer->running.clear();
    }
    int reached = 0;
    for (unsigned long long id : ids) {
        auto event = du::DynamicCast<qxk::ProgressEvent>(FindLiveObject(id));
        if (!event) continue;
        ++reached;
        event->Progress(percentage);
        if (finish) event->Complete();
    }
    return reached;
}

std::vector<WorkflowMessage> WorkflowMessages(const qxk::View& view) {
    WorldGuard guard(WorldMutex());
    return view.GetViewState().workflows->messages;
}

std::vector<int> ZoomCodes(const qxk::View& view) {
    WorldGuard guard(WorldMutex());
    return view.GetViewState().zoomCodes;
}

std::vector<int> ViewCommands(const qxk::View& view) {
    WorldGuard guard(WorldMutex());
    return view.GetViewState().viewCommands;
}

}  // namespace devhost

namespace qxk {

View::View(unsigned int classNumber) : viewState_(new State()) {
    viewState_->classNumber = classNumber;
    viewState_->workflows = new devhost::WorkflowManagerImpl(this);
    if (classNumber == ShapeView::CLASS_TYPE.GetNumber()) viewState_->viewer = new devhost::ShapeViewerImpl();
}

View::~View() {
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        viewState_->workflows->view = nullptr;
    }
    delete viewState_;
}

bool View::IsOfClass(unsigned int number) const {
    if (number == viewState_->classNumber || number == CLASS_TYPE.GetNumber() || Object::IsOfClass(number)) return true;
    devhost::WorldGuard guard(devhost::WorldMutex());
    const auto& alsoOf = viewState_->alsoOf;
    return std::find(alsoOf.begin(), alsoOf.end(), number) != alsoOf.end();
}

void View::GetScene(du::SmartPtr<Scene>& scene) const {
    if (devhost::HitFault("qxk::View::GetScene")) {
        scene = nullptr;
        return;
    }
    devhost::WorldGuard guard(devhost::WorldMutex());
    scene = viewState_->scene;
}

void View::GetWorkflowManager(du::SmartPtr<WorkflowManager>& manager) const {
    if (devhost::HitFault("qxk::View::GetWorkflowManager")) {
        manager = nullptr;
        return;
    }
    manager = viewState_->workflows;
}

unsigned int View::GetClassNumber() const { return viewState_->classNumber; }

void View::ZoomView(int code) {
    if (devhost::HitFault("qxk::View::ZoomView")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    viewState_->zoomCodes.push_back(code);
    devhost::NoteHostChange({devhost::HostChange::Kind::Zoom, nullptr, devhost::CountedIfAlive<View>(this), nullptr, {}, {}, code});
}

void IllustrationView::RunViewCommand(int command) {
    if (devhost::HitFault("qxk::IllustrationView::RunViewCommand")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    GetViewState().viewCommands.push_back(command);
    devhost::NoteHostChange(
        {devhost::HostChange::Kind::ViewCommand, nullptr, devhost::CountedIfAlive<View>(this), nullptr, {}, {}, command});
}

void ShapeView::GetViewer(du::SmartPtr<ShapeViewer>& viewer) const {
    if (devhost::HitFault("qxk::ShapeView::GetViewer")) {
        viewer = nullptr;
        return;
    }
    devhost::WorldGuard guard(devhost::WorldMutex());
    viewer = GetViewState().viewer;
}

void Viewer::AttachProgressEvent(const du::SmartPtr<ProgressEvent>& event) {
    if (devhost::HitFault("qxk::Viewer::AttachProgressEvent") || !event) return;
    bool finishNow;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        auto& self = static_cast<devhost::ShapeViewerImpl&>(*this);
        self.attached.push_back(devhost::ObjectIdOf(*event));
        finishNow = self.mode == devhost::ViewerProgress::Auto;
        if (!finishNow) self.running.push_back(devhost::ObjectIdOf(*event));
    }
    if (finishNow) {  // nothing is slow to draw here: the viewer is done at once
        event->Progress(100);
        event->Complete();
    }
}

void WorkflowManager::SendWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int value,
                                          const du::SmartPtr<du::RefCounted>& data) {
    if (devhost::HitFault("qxk::WorkflowManager::SendWorkflowMessage")) return;
    std::vector<du::SmartPtr<qxkapp::ViewerWorkflowManagerObserver>> viewerObservers;
    std::vector<du::SmartPtr<WorkflowManagerObserver>> workflowObservers;
    du::SmartPtr<View> view;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        auto& self = devhost::Workflows(*this);
        self.messages.push_back({workflow, message, value, data});
        viewerObservers = self.viewerObservers;
        workflowObservers = self.workflowObservers;
        view = devhost::CountedIfAlive(self.view);
        devhost::NoteHostChange({devhost::HostChange::Kind::WorkflowMessage, nullptr, view, nullptr, {}, {},
                                 static_cast<int>(self.messages.size() - 1)});
    }
    // Observers hear on their own actor threads (devhost::NotifyObserver),
    // never on the thread of the sender.
    for (const auto& observer : workflowObservers)
        devhost::NotifyObserver(*observer, [observer, workflow, message, value] {
            observer->OnWorkflowMessage(workflow, message, value);
        });
    for (const auto& observer : viewerObservers)
        devhost::NotifyObserver(*observer, [observer, view, workflow, message] {
            observer->OnViewerWorkflowMessage(view, workflow, message);
        });
}

void WorkflowManager::AddViewerObserver(const du::SmartPtr<qxkapp::ViewerWorkflowManagerObserver>& observer) {
    if (devhost::HitFault("qxk::WorkflowManager::AddViewerObserver") || !observer) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::Workflows(*this).viewerObservers.push_back(observer);
}

void WorkflowManager::AddWorkflowObserver(const du::SmartPtr<WorkflowManagerObserver>& observer) {
    if (devhost::HitFault("qxk::WorkflowManager::AddWorkflowObserver") || !observer) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::Workflows(*this).workflowObservers.push_back(observer);
}

}  // namespace qxk
