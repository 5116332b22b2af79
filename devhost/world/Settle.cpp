#include "devhost/world/Settle.h"

#include "devhost/platform/ActorQuiet.h"
#include "devhost/world/HostWorker.h"

namespace devhost {

void Settle(const std::vector<du::SmartPtr<dom::ManagedObject>>& actors) {
    // Quiet when one whole round finds that nothing new was handed out: all
    // that was queued before it has then been served, and none of it queued
    // anything more.
    for (;;) {
        const unsigned long long before = WorkHandedOut();
        DrainHostWorker();
        for (const auto& actor : actors) WaitForActor(actor);
        if (WorkHandedOut() == before) return;
    }
}

}  // namespace devhost
