#pragma once

#include "devhost/platform/ObjectRegistry.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// An event that host work completes later. An event managed under an actor
// belongs to that actor: it is named here by its id and let go with the
// actor, whose code (a plug-in's) may be unloaded afterwards. Any other
// event is held until the work is done.
template <class Event>
class PendingEvent {
public:
    explicit PendingEvent(Event* event) {
        if (event && event->IsManaged())
            managedId_ = event->GetBinding().id;
        else
            held_ = event;
    }

    // The event, or null once the actor it was managed under has ended.
    du::SmartPtr<Event> Get() const {
        if (held_ || managedId_ == 0) return held_;
        return du::SmartPtr<Event>(dynamic_cast<Event*>(FindBoundObject(managedId_).get()));
    }

private:
    du::SmartPtr<Event> held_;
    unsigned long long managedId_ = 0;
};

}  // namespace devhost
