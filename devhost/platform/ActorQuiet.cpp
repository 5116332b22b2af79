#include "devhost/platform/ActorQuiet.h"

#include <atomic>
#include <future>
#include <memory>

#include "devhost/platform/BriefSpin.h"
#include "devhost/platform/ObjectRegistry.h"
#include "dom/Exceptions.h"

namespace devhost {

namespace {

std::atomic<unsigned long long> handedOut{0};

// The queue that serves the object, or null.
std::shared_ptr<QueueCore> ServingQueue(const du::SmartPtr<dom::ManagedObject>& object) {
    unsigned long long remote = 0;
    {
        std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
        const dom::ManagedObject::Binding& binding = object->GetBinding();
        if (!binding.proxy) return binding.bound ? binding.queue : nullptr;
        remote = binding.remoteObject;
    }
    try {
        return ResolveTarget(remote);
    } catch (const dom::Exception&) {
        return nullptr;
    }
}

}  // namespace

unsigned long long WorkHandedOut() { return handedOut.load(); }

void NoteWorkHandedOut() { handedOut.fetch_add(1); }

bool WaitForActor(const du::SmartPtr<dom::ManagedObject>& object) {
    std::shared_ptr<QueueCore> queue = object ? ServingQueue(object) : nullptr;
    if (!queue) return false;
    // An actor with nothing queued and nothing in hand has served it all;
    // one that is just finishing its last item mostly is so within moments.
    if (SpinBriefly([&queue] { return queue->IsIdle(); })) return true;
    // A mark dropped unrun, by a shutdown or by a loop that an exception
    // ended, breaks the promise, which also ends the wait: so the mark must
    // hold the only reference to it.
    auto served = std::make_shared<std::promise<void>>();
    std::future<void> done = served->get_future();
    if (!queue->Post(QueueItem{nullptr, [served = std::move(served)] { served->set_value(); }, false})) return false;
    try {
        done.get();
        return true;
    } catch (const std::future_error&) {
        return false;
    }
}

}  // namespace devhost
