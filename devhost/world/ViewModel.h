#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/ProgressEvent.h"
#include "qxk/Scene.h"
#include "qxk/ShapeViewer.h"
#include "qxk/View.h"
#include "qxk/Window.h"
#include "qxk/WorkflowManager.h"
#include "qxk/WorkflowManagerObserver.h"
#include "qxkapp/ViewerWorkflowManagerObserver.h"

namespace devhost {

struct WorkflowMessage {
    du::Symbol workflow;
    du::Symbol message;
    int value;
    du::SmartPtr<du::RefCounted> data;
};

// The workflows of a view: they record every message they get and tell
// their observers. Guarded by the world lock.
class WorkflowManagerImpl : public qxk::WorkflowManager {
public:
    explicit WorkflowManagerImpl(qxk::View* view) : view(view) {}
    qxk::View* view;  // the view that owns this manager; null once it has gone
    std::vector<WorkflowMessage> messages;
    std::vector<du::SmartPtr<qxkapp::ViewerWorkflowManagerObserver>> viewerObservers;
    std::vector<du::SmartPtr<qxk::WorkflowManagerObserver>> workflowObservers;
};

// How a viewer finishes the progress events attached to it: at once (it
// reports 100 and completes), or when a test says so.
enum class ViewerProgress { Auto, Manual };

// The viewer holds its progress events by id, not by reference: their
// makers keep them, and an event that has gone (with its maker's code,
// perhaps) is simply not told any more.
class ShapeViewerImpl : public qxk::ShapeViewer {
public:
    ViewerProgress mode = ViewerProgress::Auto;
    std::vector<unsigned long long> attached;  // every event ever attached
    std::vector<unsigned long long> running;   // attached and not yet finished
};

}  // namespace devhost

// The host's record of a view. Guarded by the world lock.
struct qxk::View::State {
    unsigned int classNumber = 0;
    du::Symbol name;
    du::SmartPtr<qxk::Scene> scene;  // null once the view has been removed
    du::SmartPtr<qxk::Window> window;
    du::SmartPtr<devhost::WorkflowManagerImpl> workflows;
    du::SmartPtr<devhost::ShapeViewerImpl> viewer;  // shape views only
    std::vector<int> zoomCodes;
    std::vector<int> viewCommands;
};

namespace devhost {

// Class numbers of the named view kinds.
unsigned int ViewKindNumber(const std::string& kind);  // 0 for an unknown name

// Makes a view of the class number on a scene and adds it to the scene's
// views: a qxk::ShapeView, DrawingView, ImageView, DocumentView or
// IllustrationView for their numbers, a plain qxk::View of that number
// otherwise.
du::SmartPtr<qxk::View> MakeView(const du::SmartPtr<qxk::Scene>& scene, unsigned int classNumber,
                                 const du::Symbol& name, const du::SmartPtr<qxk::Window>& window);
// Takes a view off its scene and breaks its links.
void RetireView(const du::SmartPtr<qxk::View>& view);

// The viewer of a shape view, or null.
du::SmartPtr<ShapeViewerImpl> ViewerOf(const qxk::View& view);
void SetViewerProgress(const qxk::View& view, ViewerProgress mode);
// Reports progress to the running progress events of the view's viewer, and
// with finish completes them. Gives the number of events reached.
int ReportViewerProgress(const qxk::View& view, unsigned char percentage, bool finish);

std::vector<WorkflowMessage> WorkflowMessages(const qxk::View& view);
std::vector<int> ZoomCodes(const qxk::View& view);
std::vector<int> ViewCommands(const qxk::View& view);

}  // namespace devhost
