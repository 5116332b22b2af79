#pragma once

#include <functional>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// Runs task on the actor thread that serves object's queue, in order with
// its messages. False, and the task is not run, when the object is not
// managed or its queue is shut down; a task still queued when the queue
// shuts down is dropped unrun. An exception from the task ends that actor's
// loop just as one from a message handler does.
bool PostTask(const du::SmartPtr<dom::ManagedObject>& object, std::function<void()> task);

// Tells an observer of host state what changed, the way the host tells all
// its observers: an observer that is a managed object hears on the actor
// thread that serves it, in order with its messages, and hears nothing once
// that actor has ended (its code may be unloaded by then); an observer that
// was never managed hears at once, on this thread. call must hold its own
// reference to the observer.
void NotifyObserver(const du::RefCounted& observer, std::function<void()> call);

// Where RouteTask sent a task.
enum class TaskRoute {
    Posted,   // queued for the object's actor
    NoActor,  // the object lives under no actor: the caller may run the task itself
    Dropped   // the object is gone, or its actor has ended or is ending: nothing may run for it
};

// Posts task to the actor of the managed object with this id
// (dom::ManagedObject::Binding::id), without holding the object: the id is
// an alive-checked back reference. An object never placed under an actor, or
// let go by UnmanageObject, is NoActor; a task still queued when the queue
// shuts down is dropped unrun.
TaskRoute RouteTask(unsigned long long objectId, std::function<void()> task);

// The id by which RouteTask finds the object, fixed for its life.
unsigned long long ObjectIdOf(const dom::ManagedObject& object);

// The object with this id, counted, while something else still holds it;
// null once it has gone or is on its way out.
du::SmartPtr<dom::ManagedObject> FindLiveObject(unsigned long long objectId);

}  // namespace devhost
