#include "tree/FlyToAll.h"

#include "basicnav/ShapeViewFlyToData.h"
#include "qxk/View.h"
#include "qxk/WorkflowManager.h"

void FlyToAll(const du::SmartPtr<qxk::ShapeScene>& scene) {
    if (!scene) return;
    du::SmartPtr<qxk::View> view = scene->GetView(0);
    // A shape scene of the viewer always has a first view with workflows;
    // without them there is nobody to fly.
    if (!view) return;
    du::SmartPtr<qxk::WorkflowManager> workflows;
    view->GetWorkflowManager(workflows);
    if (!workflows) return;
    du::SmartPtr<basicnav::ShapeViewFlyToData> data(new basicnav::ShapeViewFlyToData());
    data->flyFlags |= 0x01;
    workflows->SendWorkflowMessage(du::Symbol("shapeviewflyto"), du::Symbol("MsgFlyToAll"), 0,
                                   du::SmartPtr<du::RefCounted>(data));
}
