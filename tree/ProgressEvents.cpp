#include "tree/ProgressEvents.h"

#include <string>

#include "du/Localizer.h"
#include "qxk/ShapeView.h"
#include "qxk/ShapeViewer.h"
#include "qxk/View.h"

WebProgressEvent::WebProgressEvent() : qxmk::WebProgressEvent(qxmk::Progress::PT_Bar) {}

WebProgressEvent::~WebProgressEvent() = default;

void WebProgressEvent::OnProgress(unsigned char percentage) { SetPercentage(percentage); }

void WebProgressEvent::OnComplete(int) { EndProgress(); }

ProgressEvent::ProgressEvent(WebProgressEvent* webProgress) : qxk::ProgressEvent(true), webProgress(webProgress) {}

ProgressEvent::~ProgressEvent() = default;

void ProgressEvent::OnProgress(unsigned char percentage) {
    if (webProgress) webProgress->SetPercentage(percentage);
}

void ProgressEvent::OnComplete(int) {
    if (webProgress) webProgress->EndProgress();
}

void StartLoadProgress(const du::SmartPtr<qxk::ShapeScene>& scene, dom::ManagedObject& owner) {
    if (!scene) return;
    du::SmartPtr<qxk::View> view = scene->GetView(0);
    if (!view) return;
    du::SmartPtr<WebProgressEvent> display(new WebProgressEvent());
    owner.ManageObject(du::SmartPtr<dom::ManagedObject>(display));
    du::SmartPtr<ProgressEvent> forwarder(new ProgressEvent(display.get()));
    owner.ManageObject(du::SmartPtr<dom::ManagedObject>(forwarder));
    const std::string text = du::Localizer("qxbase:qxkStrings").LocalizeMessage("7000", du::Localizer::AOF_ReturnKey);
    display->StartProgress(scene, text, 1);
    // The first view of a shape scene is a shape view; another kind of view
    // has no shape viewer to report to, and the display then runs on its own.
    du::SmartPtr<qxk::ShapeView> shapeView = du::DynamicCast<qxk::ShapeView>(view);
    if (!shapeView) return;
    du::SmartPtr<qxk::ShapeViewer> viewer;
    shapeView->GetViewer(viewer);
    if (viewer) viewer->AttachProgressEvent(forwarder);
}
