// The host's asynchronous events: completion, progress and linking, and
// event sets.

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <vector>

#include "devhost/world/AsyncEvents.h"

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "qxk/AsyncEventSet.h"
#include "qxk/ProgressEvent.h"

struct qxk::BaseAsyncEvent::State {
    bool releaseWhenDone;
    std::atomic<bool> completionTaken{false};
    std::atomic<int> status{ES_Pending};
    std::mutex mutex;                          // guards parent
    du::SmartPtr<BaseAsyncEvent> parent;       // the event this one reports to
};

struct qxk::AsyncEventSet::State {
    std::mutex mutex;
    std::vector<AsyncSetEvent*> members;               // added, not yet complete
    std::map<AsyncSetEvent*, unsigned char> progress;  // last progress of each member
    bool anyAdded = false;
};

namespace devhost {

void ReleaseIfDone(qxk::BaseAsyncEvent& event) {
    if (event.GetEventState().releaseWhenDone && event.IsManaged())
        event.UnmanageObject(du::SmartPtr<dom::ManagedObject>(&event));
}

}  // namespace devhost

namespace qxk {

BaseAsyncEvent::BaseAsyncEvent(bool releaseWhenDone) : eventState_(new State()) {
    eventState_->releaseWhenDone = releaseWhenDone;
}

BaseAsyncEvent::~BaseAsyncEvent() { delete eventState_; }

void BaseAsyncEvent::EventHandler(int kind, int value) {
    switch (kind) {
        case EK_Progress: {
            OnProgress(static_cast<unsigned char>(value));
            du::SmartPtr<BaseAsyncEvent> parent;
            {
                std::lock_guard<std::mutex> lock(eventState_->mutex);
                parent = eventState_->parent;
            }
            if (parent) parent->Progress(static_cast<unsigned char>(value));
            return;
        }
        case EK_Status:
            OnStatus(value);
            return;
        case EK_Complete: {
            eventState_->status = value;
            du::SmartPtr<BaseAsyncEvent> parent;
            {
                std::lock_guard<std::mutex> lock(eventState_->mutex);
                parent = std::move(eventState_->parent);
            }
            // The parent hears of a failure before the child's own hook can
            // complete it some other way.
            if (parent && value != ES_Ok) parent->CompleteWithError(value);
            OnComplete(value);
            devhost::ReleaseIfDone(*this);
            return;
        }
        default:
            return;  // a kind this host does not know is dropped
    }
}

void BaseAsyncEvent::CompleteWithError(int status) {
    if (devhost::HitFault("qxk::BaseAsyncEvent::CompleteWithError")) return;
    HandleEvent(EK_Complete, status == ES_Ok ? ES_Failed : status);
}

void BaseAsyncEvent::Complete() {
    if (devhost::HitFault("qxk::BaseAsyncEvent::Complete")) return;
    HandleEvent(EK_Complete, ES_Ok);
}

void BaseAsyncEvent::Progress(unsigned char percentage) {
    if (devhost::HitFault("qxk::BaseAsyncEvent::Progress")) return;
    HandleEvent(EK_Progress, percentage);
}

int BaseAsyncEvent::Status() const { return eventState_->status; }

void BaseAsyncEvent::Cancel() { HandleEvent(EK_Complete, ES_Cancelled); }

void BaseAsyncEvent::HandleEvent(int kind, int value) {
    // An event completes once; the first report of completion wins, and
    // nothing is reported after it.
    if (kind == EK_Complete ? eventState_->completionTaken.exchange(true) : eventState_->completionTaken.load())
        return;
    if (!RunOnCompleteInTask()) {
        EventHandler(kind, value);
        return;
    }
    // An event whose count is at zero is on its way out: nobody is left to tell.
    du::SmartPtr<BaseAsyncEvent> self = devhost::CountedIfAlive(this);
    if (!self) return;
    // The report runs on the event's actor, or here for an event under no
    // actor; once that actor has ended it runs nowhere, since the code it
    // would call may be gone with its library.
    if (devhost::RouteTask(devhost::ObjectIdOf(*this), [self, kind, value] { self->EventHandler(kind, value); }) ==
        devhost::TaskRoute::NoActor)
        self->EventHandler(kind, value);
}

void BaseAsyncEvent::OnProgress(unsigned char) {}
void BaseAsyncEvent::OnComplete(int) {}
void BaseAsyncEvent::OnStatus(int) {}
bool BaseAsyncEvent::RunOnCompleteInTask() const { return true; }

void BaseAsyncEvent::LinkChildEvent(BaseAsyncEvent* child) {
    if (devhost::HitFault("qxk::BaseAsyncEvent::LinkChildEvent") || !child || child == this) return;
    std::lock_guard<std::mutex> lock(child->eventState_->mutex);
    child->eventState_->parent = this;
}

bool BaseAsyncEvent::IsComplete() const { return eventState_->status != ES_Pending; }

ProgressEvent::ProgressEvent(bool releaseWhenDone) : BaseAsyncEvent(releaseWhenDone) {}
ProgressEvent::~ProgressEvent() = default;

AsyncEventSet::AsyncEventSet() : setState_(new State()) {}
AsyncEventSet::~AsyncEventSet() { delete setState_; }

du::SmartPtr<AsyncSetEvent> AsyncEventSet::CreateNewEvent() {
    if (devhost::HitFault("qxk::AsyncEventSet::CreateNewEvent")) return nullptr;
    return du::SmartPtr<AsyncSetEvent>(new AsyncSetEvent(*this));
}

void AsyncEventSet::AddEvent(du::SmartPtr<AsyncSetEvent>& event) {
    if (devhost::HitFault("qxk::AsyncEventSet::AddEvent") || !event || event->IsComplete()) return;
    std::lock_guard<std::mutex> lock(setState_->mutex);
    setState_->members.push_back(event.get());
    setState_->progress[event.get()] = 0;
    setState_->anyAdded = true;
}

void AsyncEventSet::Reset() {
    std::lock_guard<std::mutex> lock(setState_->mutex);
    setState_->members.clear();
    setState_->progress.clear();
    setState_->anyAdded = false;
}

void AsyncEventSet::OnAllEventsComplete() {}
void AsyncEventSet::OnProgress(unsigned char) {}

AsyncSetEvent::AsyncSetEvent(AsyncEventSet& set) : set_(&set) {}
AsyncSetEvent::~AsyncSetEvent() = default;

void AsyncSetEvent::OnProgress(unsigned char percentage) {
    if (!set_) return;
    unsigned int mean = 0;
    {
        auto& state = set_->GetSetState();
        std::lock_guard<std::mutex> lock(state.mutex);
        auto it = state.progress.find(this);
        if (it == state.progress.end()) return;
        it->second = percentage;
        for (const auto& entry : state.progress) mean += entry.second;
        mean /= static_cast<unsigned int>(state.progress.size());
    }
    set_->OnProgress(static_cast<unsigned char>(mean));
}

void AsyncSetEvent::OnComplete(int) {
    du::SmartPtr<AsyncEventSet> set;
    set = std::move(set_);  // the member no longer keeps its set alive
    if (!set) return;
    bool last;
    {
        auto& state = set->GetSetState();
        std::lock_guard<std::mutex> lock(state.mutex);
        auto it = std::find(state.members.begin(), state.members.end(), this);
        if (it == state.members.end()) return;  // not added, or the set was reset
        state.members.erase(it);
        last = state.members.empty() && state.anyAdded;
        if (last) {
            state.progress.clear();
            state.anyAdded = false;
        }
    }
    if (last) set->OnAllEventsComplete();
}

}  // namespace qxk
