#include "tree/FlyToAll.h"

#include "basicnav/ShapeViewFlyToData.h"
#include "qxk/View.h"
#include "qxk/WorkflowManager.h"

namespace {

// Fly-to data of a first load into an empty scene: the whole-scene flag
// joins the default ones. ZoomToAll's data adds the visible-only fit flag
// instead; the two are unlike on purpose and stay apart.
du::SmartPtr<du::RefCounted> FlyToAllData() {
    du::SmartPtr<basicnav::ShapeViewFlyToData> data(new basicnav::ShapeViewFlyToData());
    data->flyFlags |= basicnav::ShapeViewFlyToData::FF_WholeScene;
    return data;
}

}  // namespace

void FlyToAll(const du::SmartPtr<qxk::ShapeScene>& scene) {
    if (!scene) return;
    du::SmartPtr<qxk::View> view = scene->GetView(0);
    // A shape scene of the viewer always has a first view with workflows;
    // without them there is nobody to fly.
    if (!view) return;
    du::SmartPtr<qxk::WorkflowManager> workflows;
    view->GetWorkflowManager(workflows);
    if (!workflows) return;
    const du::SmartPtr<du::RefCounted> data = FlyToAllData();
    workflows->SendWorkflowMessage(du::Symbol("shapeviewflyto"), du::Symbol("MsgFlyToAll"), 0, data);
}
