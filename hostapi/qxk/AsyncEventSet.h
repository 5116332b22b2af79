#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/AsyncEvent.h"

namespace qxk {

class AsyncSetEvent;

// A set of events that reports once all of them have completed. Each member
// keeps the set alive until it has completed.
class AsyncEventSet : public virtual du::RefCounted {
public:
    AsyncEventSet();
    ~AsyncEventSet() override;

    // A new member event; it counts once it has been added.
    virtual du::SmartPtr<AsyncSetEvent> CreateNewEvent();
    virtual void AddEvent(du::SmartPtr<AsyncSetEvent>& event);
    // Forgets every member; their completions are no longer counted.
    virtual void Reset();
    // Runs when the last added member has completed, on that member's thread.
    virtual void OnAllEventsComplete();
    // The mean progress of the members.
    virtual void OnProgress(unsigned char percentage);

    struct State;  // the host's record of the members
    State& GetSetState() const { return *setState_; }

private:
    State* setState_;
};

// A member event of an AsyncEventSet.
class AsyncSetEvent : public AsyncEvent {
public:
    explicit AsyncSetEvent(AsyncEventSet& set);
    ~AsyncSetEvent() override;

    void OnProgress(unsigned char percentage) override;
    void OnComplete(int status) override;

private:
    du::SmartPtr<AsyncEventSet> set_;
};

}  // namespace qxk
