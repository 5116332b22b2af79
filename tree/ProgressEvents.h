#pragma once

#include "du/SmartPtr.h"
#include "qxk/ProgressEvent.h"
#include "qxk/ShapeScene.h"
#include "qxmk/WebProgressEvent.h"

namespace dom {
class ManagedObject;
}

// Drives the client's progress display from the host's progress reports.
class WebProgressEvent : public qxmk::WebProgressEvent {
public:
    WebProgressEvent();
    ~WebProgressEvent() override;

    void OnProgress(unsigned char percentage) override;
    void OnComplete(int status) override;
};

// Handed to a viewer, which reports its drawing and reading through it; it
// passes what it hears on to its display, when it has one.
class ProgressEvent : public qxk::ProgressEvent {
public:
    explicit ProgressEvent(WebProgressEvent* webProgress);
    ~ProgressEvent() override;

    void OnProgress(unsigned char percentage) override;
    void OnComplete(int status) override;

private:
    // Plain: both events live under the same owner, which keeps the display
    // for as long as it keeps this one.
    WebProgressEvent* webProgress;
};

// Starts a progress display over the scene, with the host's loading text,
// and attaches it to the viewer of the scene's first view. Both events go
// under owner's management. Nothing happens without a scene or a view.
void StartLoadProgress(const du::SmartPtr<qxk::ShapeScene>& scene, dom::ManagedObject& owner);
