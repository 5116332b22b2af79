#pragma once

#include <memory>
#include <string>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// An actor of a client of the module: a thread with its own queue, on which
// the client's callback objects receive what the module sends them.
class ClientActor {
public:
    explicit ClientActor(std::string name);
    // Shuts the queue down and joins the thread.
    ~ClientActor();
    ClientActor(const ClientActor&) = delete;
    ClientActor& operator=(const ClientActor&) = delete;

    // Binds an object to this actor's queue, so that its messages are served
    // on this actor's thread. False once the actor has stopped.
    bool Adopt(const du::SmartPtr<dom::ManagedObject>& object);
    // Lets go of an adopted object: messages that reach it later are
    // dropped (one-way) or refused (requests). False when it was not adopted.
    bool Release(const du::SmartPtr<dom::ManagedObject>& object);
    // Returns once every message sent to this actor's objects before the
    // call has been served.
    void Settle();

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

}  // namespace devhost
