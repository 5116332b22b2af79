#pragma once

#include "du/CommonAllocated.h"
#include "du/RefCounted.h"

namespace dom {

// The queue of one actor. Objects bound to it by ManagedObject::ManageSelf
// and ManageObject are served, one message at a time, by the loop that
// ManagedObject::RunMessageLoop runs on it.
class MessageQueue : public du::RefCounted, public du::CommonAllocated {
public:
    enum ShutdownMode {
        SM_WhenIdle = 0,   // serve what is queued, then end the loop
        SM_Immediate = 1   // end the loop after the message being served
    };

    MessageQueue();
    ~MessageQueue() override;

    // Ends a running loop from any thread. Requests that are queued and not
    // going to be served, and requests sent later, fail with
    // dom::ActorShutdownException.
    virtual void ShutdownQueue(ShutdownMode mode);
    bool IsShutdown() const;

    struct State;  // private to the messaging layer
    State& GetState() const { return *state_; }

private:
    State* state_;
};

class GenericMessageQueue : public MessageQueue {
public:
    GenericMessageQueue();
    ~GenericMessageQueue() override;
};

}  // namespace dom
