#include "devhost/world/ProgressDisplays.h"

#include "devhost/platform/Faults.h"
#include "devhost/world/WorldLock.h"
#include "qxmk/WebProgressEvent.h"

namespace devhost {

namespace {

std::vector<ProgressDisplay>& Displays() {
    static std::vector<ProgressDisplay> displays;
    return displays;
}

// The display of an event, or null when it was never started or cleared.
ProgressDisplay* Find(const qxmk::WebProgressEvent::Display& display) {
    auto& all = Displays();
    for (auto& entry : all)
        if (entry.id == display.id) return &entry;
    return nullptr;
}

int nextDisplay = 1;

}  // namespace

std::vector<ProgressDisplay> ProgressDisplays() {
    WorldGuard guard(WorldMutex());
    return Displays();
}

void ClearProgressDisplays() {
    WorldGuard guard(WorldMutex());
    Displays().clear();
}

}  // namespace devhost

namespace qxmk {

WebProgressEvent::WebProgressEvent(Progress::Type type) : display_(new Display()) { display_->type = type; }

WebProgressEvent::~WebProgressEvent() { delete display_; }

void WebProgressEvent::StartProgress(du::SmartPtr<qxk::Scene> scene, const std::string& text,
                                     long long refreshTicks) {
    if (devhost::HitFault("qxmk::WebProgressEvent::StartProgress")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    if (devhost::ProgressDisplay* running = devhost::Find(*display_)) running->running = false;
    display_->id = devhost::nextDisplay++;
    devhost::ProgressDisplay display;
    display.id = display_->id;
    display.type = display_->type;
    display.scene = scene;
    display.text = text;
    display.refreshTicks = refreshTicks;
    devhost::Displays().push_back(display);
}

void WebProgressEvent::SetPercentage(int percentage) {
    if (devhost::HitFault("qxmk::WebProgressEvent::SetPercentage")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::ProgressDisplay* display = devhost::Find(*display_);
    if (!display || !display->running) return;
    display->percentage = percentage;
    display->percentages.push_back(percentage);
}

void WebProgressEvent::EndProgress() {
    if (devhost::HitFault("qxmk::WebProgressEvent::EndProgress")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    if (devhost::ProgressDisplay* display = devhost::Find(*display_)) display->running = false;
}

void WebProgressEvent::HandleTimeoutEvent(long long) {
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::ProgressDisplay* display = devhost::Find(*display_);
    if (display && display->running) ++display->ticks;
}

}  // namespace qxmk
