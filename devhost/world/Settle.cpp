#include "devhost/world/Settle.h"

#include "devhost/platform/ActorQuiet.h"
#include "devhost/world/HostWorker.h"

namespace devhost {

bool Settle(const std::vector<du::SmartPtr<dom::ManagedObject>>& actors) {
    // Quiet when one whole round finds that nothing new was handed out: all
    // that was queued before it has then been served, and none of it queued
    // anything more.
    for (;;) {
        const unsigned long long before = WorkHandedOut();
        DrainHostWorker();
        bool allServing = true;
        for (const auto& actor : actors) allServing = WaitForActor(actor) && allServing;
        if (WorkHandedOut() == before) return allServing;
    }
}

}  // namespace devhost
