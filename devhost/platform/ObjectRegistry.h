#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "devhost/platform/MessageValue.h"
#include "devhost/platform/QueueCore.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

// Where a managed object lives. All fields are guarded by the registry's
// mutex.
struct dom::ManagedObject::Binding {
    unsigned long long id = 0;
    // The queue the object is bound to, or was bound to until that queue
    // was closed; null when never bound or let go by UnmanageObject.
    std::shared_ptr<devhost::QueueCore> queue;
    bool bound = false;
    du::Symbol actorName;  // published name, null when none

    // For a proxy: the remote object it stands for.
    bool proxy = false;
    unsigned long long remoteObject = 0;
    short remoteTable = 0;
    unsigned int remoteHost = 0;
};

namespace devhost {

// Every live managed object by id, and the published actor names.
struct ObjectRegistry {
    std::mutex mutex;  // taken before any queue's mutex
    std::unordered_map<unsigned long long, dom::ManagedObject*> objects;
    std::map<du::Symbol, unsigned long long> names;
    unsigned long long nextId = 1;

    static ObjectRegistry& Get();
};

// The queue of the managed object with this id. Throws
// dom::InvalidActorException when there is no such managed object, and
// dom::ActorShutdownException when its queue has been shut down. No
// reference to the object is taken: a sender must never end up holding the
// last one, or the object would die on the sender's thread, not its actor's.
std::shared_ptr<QueueCore> ResolveTarget(unsigned long long id);

// The object with this id if it is managed (on the given queue, when one is
// given), else null.
du::SmartPtr<dom::ManagedObject> FindBoundObject(unsigned long long id, const QueueCore* queue = nullptr);

// The handle that names object: a proxy names its remote object.
HandleValue HandleFor(const du::SmartPtr<dom::ManagedObject>& object, short table);

// Unbinds an object from its queue; the caller drops the queue's reference,
// which this hands back, outside the registry's lock.
du::SmartPtr<dom::ManagedObject> UnbindLocked(dom::ManagedObject& object, bool forget);

}  // namespace devhost
