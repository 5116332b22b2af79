#pragma once

#include <exception>
#include <thread>

#include "dom/ManagedObject.h"
#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace ptest {

// Serves one object's new queue on a thread of its own, as an actor does,
// and shuts it down at the end of the test unless the test let go of it.
class TestActor {
public:
    TestActor(const du::SmartPtr<dom::ManagedObject>& object, const char* name)
        : queue(new dom::GenericMessageQueue), object(object) {
        object->ManageSelf(queue, du::Symbol(name), dom::ManagedObject::SCOPE_Global);
    }
    ~TestActor() {
        if (queue) queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
        Join();
    }

    void Start() {
        thread = std::thread([this] {
            try {
                object->RunMessageLoop();
            } catch (...) {
                ended = std::current_exception();
            }
        });
    }
    void Join() {
        if (thread.joinable()) thread.join();
    }

    du::SmartPtr<dom::MessageQueue> queue;
    du::SmartPtr<dom::ManagedObject> object;
    std::thread thread;
    std::exception_ptr ended;  // what ended the loop, if anything did
};

// A TestActor whose loop runs from the start.
struct RunningActor : TestActor {
    RunningActor(const du::SmartPtr<dom::ManagedObject>& object, const char* name) : TestActor(object, name) { Start(); }
};

}  // namespace ptest
