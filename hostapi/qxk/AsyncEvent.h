#pragma once

#include "dom/ManagedObject.h"

namespace qxk {

// Host work that finishes later. Whoever does the work reports with
// Progress, Complete or CompleteWithError from any thread. An event placed
// under an actor with ManageObject has its On... operations run on that
// actor's thread; an event under no actor runs them on the reporting thread.
// An event completes once: later reports of completion are ignored.
class BaseAsyncEvent : public dom::ManagedObject {
public:
    // Values of Status.
    enum EventStatus {
        ES_Ok = 0,
        ES_Failed = 1,
        ES_Cancelled = 2,
        ES_Pending = -1
    };
    // Kinds of EventHandler and HandleEvent.
    enum EventKind { EK_Progress = 0, EK_Status = 1, EK_Complete = 2 };

    // With releaseWhenDone, the actor lets go of the event once it has
    // completed, so that a managed event does not outlive its work.
    explicit BaseAsyncEvent(bool releaseWhenDone = true);
    ~BaseAsyncEvent() override;

    // Runs one report on the event's own thread and calls the On... hook.
    virtual void EventHandler(int kind, int value);
    virtual void CompleteWithError(int status);
    virtual void Complete();
    virtual void Progress(unsigned char percentage);
    // ES_Pending until the event has completed, then its status.
    virtual int Status() const;
    virtual void Cancel();
    // Takes a report and brings it to EventHandler: posted to the actor
    // thread when RunOnCompleteInTask says so and the event is managed,
    // called at once otherwise. Reports after the completion, and reports to
    // an event whose actor has ended, are dropped.
    virtual void HandleEvent(int kind, int value);
    virtual void OnProgress(unsigned char percentage);
    virtual void OnComplete(int status);
    virtual void OnStatus(int status);
    virtual bool RunOnCompleteInTask() const;

    // Makes child report to this event: its progress is passed on, and a
    // non-zero completion completes this event with that status.
    void LinkChildEvent(BaseAsyncEvent* child);
    bool IsComplete() const;

    struct State;  // the host's record of the event
    State& GetEventState() const { return *eventState_; }

private:
    State* eventState_;
};

// The usual base of asynchronous events.
class AsyncEvent : public virtual BaseAsyncEvent {
public:
    AsyncEvent() = default;
    ~AsyncEvent() override = default;
};

}  // namespace qxk
