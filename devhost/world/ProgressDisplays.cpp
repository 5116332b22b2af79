#include "devhost/world/ProgressDisplays.h"

#include <chrono>

#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/Timers.h"
#include "devhost/world/AsyncEvents.h"
#include "devhost/world/HostChanges.h"
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

const long long kRefreshTimer = 1;

// The refresh interval of a display, from its ticks in tenths of a second.
std::chrono::milliseconds RefreshInterval(long long ticks) {
    return std::chrono::milliseconds(100 * (ticks < 1 ? 1 : ticks));
}

// Sets the event's refresh timer going when it is under an actor.
void Refresh(qxmk::WebProgressEvent& event, long long ticks) {
    if (du::SmartPtr<qxmk::WebProgressEvent> counted = CountedIfAlive(&event))
        StartTimer(du::SmartPtr<dom::ManagedObject>(counted), kRefreshTimer, RefreshInterval(ticks));
}

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
    {
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
    devhost::NoteHostChange({devhost::HostChange::Kind::Progress, nullptr, nullptr, nullptr, {}, {}, display_->id});
    devhost::Refresh(*this, refreshTicks);
}

void WebProgressEvent::SetPercentage(int percentage) {
    if (devhost::HitFault("qxmk::WebProgressEvent::SetPercentage")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::ProgressDisplay* display = devhost::Find(*display_);
    if (!display || !display->running) return;
    display->percentage = percentage;
    display->percentages.push_back(percentage);
    devhost::NoteHostChange({devhost::HostChange::Kind::Progress, nullptr, nullptr, nullptr, {}, {}, display->id});
}

void WebProgressEvent::EndProgress() {
    if (devhost::HitFault("qxmk::WebProgressEvent::EndProgress")) return;
    // The refresh timer is left to run out: its next tick finds the display
    // ended and sets it no more.
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        if (devhost::ProgressDisplay* display = devhost::Find(*display_)) display->running = false;
    }
    if (display_->id != 0)
        devhost::NoteHostChange({devhost::HostChange::Kind::Progress, nullptr, nullptr, nullptr, {}, {}, display_->id});
    // An ended display has done its work, as a completed event has, and goes
    // the same way when made to release when done: a client that loads all
    // day leaves no display behind per load.
    if (display_->id != 0) devhost::ReleaseIfDone(*this);
}

void WebProgressEvent::HandleTimeoutEvent(long long timerId) {
    if (timerId != devhost::kRefreshTimer) return;
    long long ticks;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        devhost::ProgressDisplay* display = devhost::Find(*display_);
        if (!display || !display->running) return;
        ++display->ticks;
        ticks = display->refreshTicks;
    }
    devhost::Refresh(*this, ticks);
}

}  // namespace qxmk
