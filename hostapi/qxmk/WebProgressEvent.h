#pragma once

#include <string>

#include "du/SmartPtr.h"
#include "qxk/AsyncEvent.h"
#include "qxmk/Progress.h"

namespace qxk {
class Scene;
}

namespace qxmk {

// An event that drives a progress display over a scene for a web client.
class WebProgressEvent : public qxk::BaseAsyncEvent {
public:
    explicit WebProgressEvent(Progress::Type type);
    ~WebProgressEvent() override;

    // Shows the display with the text. While it runs, an event under an
    // actor refreshes it every refreshTicks tenths of a second (at least one)
    // on its actor's timer.
    void StartProgress(du::SmartPtr<qxk::Scene> scene, const std::string& text, long long refreshTicks);
    void SetPercentage(int percentage);
    void EndProgress();

    // The display's timer.
    void HandleTimeoutEvent(long long timerId) override;

    struct Display;  // the host's record of the display
    Display& GetDisplay() const { return *display_; }

private:
    Display* display_;
};

}  // namespace qxmk
