#pragma once

#include <functional>
#include <thread>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "tests/platform/TestActor.h"

namespace ctest {

// A managed object served on an actor thread of its own, standing where the
// module's actor stands: events placed under it complete on its thread.
class Actor {
public:
    Actor();
    ~Actor();

    // Places an object under this actor, as the module does with its events.
    void Manage(const du::SmartPtr<dom::ManagedObject>& object);
    // Runs a task on the actor thread and waits for it.
    void Run(const std::function<void()>& task);
    // Lets the host worker and the actor run until done(), read on the actor
    // thread, holds; false if it still does not after the work in flight has
    // settled many times.
    bool SettleUntil(const std::function<bool()>& done);
    std::thread::id ThreadId() const { return threadId_; }

    du::SmartPtr<dom::ManagedObject> object;

private:
    ptest::RunningActor actor_;
    std::thread::id threadId_;
};

}  // namespace ctest
