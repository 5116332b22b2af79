#include "dom/MessageQueue.h"

#include "devhost/platform/MessageContent.h"
#include "devhost/platform/ActorQuiet.h"
#include "devhost/platform/BriefSpin.h"
#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/QueueCore.h"

namespace devhost {

void QueueCore::FailUnserved(std::deque<QueueItem>& dropped) {
    for (QueueItem& item : dropped) {
        if (item.message && item.message->NeedsReply())
            item.message->GetContent().Settle(dom::Message::Content::Outcome::ActorShutdown,
                                              "The actor's queue was shut down before the request was served");
    }
}

bool QueueCore::Take(QueueItem& item) {
    std::unique_lock<std::mutex> hold(mutex);
    serving = false;  // the loop is back for more
    bool spun = false;
    for (;;) {
        if (stopNow) return false;
        if (!timers.empty() && timers.begin()->first <= std::chrono::steady_clock::now()) {
            QueueTimer due = timers.begin()->second;
            timers.erase(timers.begin());
            item = QueueItem{nullptr, [due, this] {
                                 du::SmartPtr<dom::ManagedObject> object = FindBoundObject(due.object, this);
                                 if (object) object->HandleTimeoutEvent(due.timerId);
                             }};
            serving = true;
            return true;
        }
        if (!items.empty()) {
            item = std::move(items.front());
            items.pop_front();
            serving = true;
            return true;
        }
        if (shutdown) return false;
        if (!spun) {
            spun = true;
            const unsigned long long seen = changes.load(std::memory_order_relaxed);
            hold.unlock();
            SpinBriefly([&] { return changes.load(std::memory_order_acquire) != seen; });
            hold.lock();
            continue;
        }
        if (timers.empty()) {
            wake.wait(hold);
        } else {
            // A copy: the timer may be cancelled, and its entry erased, while we wait.
            const std::chrono::steady_clock::time_point due = timers.begin()->first;
            wake.wait_until(hold, due);
        }
    }
}

bool QueueCore::Post(QueueItem item) {
    {
        std::lock_guard<std::mutex> hold(mutex);
        if (shutdown) return false;
        // Counted while the item is queued, so that whoever waits for quiet
        // sees it before it can be served.
        if (item.work) NoteWorkHandedOut();
        items.push_back(std::move(item));
        changes.fetch_add(1, std::memory_order_release);
    }
    wake.notify_one();
    return true;
}

void QueueCore::Close() {
    std::deque<QueueItem> dropped;
    std::vector<du::SmartPtr<dom::ManagedObject>> released;
    {
        ObjectRegistry& registry = ObjectRegistry::Get();
        std::lock_guard<std::mutex> holdRegistry(registry.mutex);
        std::vector<du::SmartPtr<dom::ManagedObject>> objects;
        {
            std::lock_guard<std::mutex> hold(mutex);
            shutdown = true;
            changes.fetch_add(1, std::memory_order_release);
            dropped.swap(items);
            timers.clear();
            objects = bound;
        }
        // The binding keeps naming this queue, so later senders learn that
        // the actor was shut down rather than that the object never was.
        for (auto& object : objects) {
            du::SmartPtr<dom::ManagedObject> reference = UnbindLocked(*object, false);
            if (reference) released.push_back(std::move(reference));
        }
    }
    wake.notify_all();
    FailUnserved(dropped);
    // Objects may die here, and their destructors may send: no lock is held.
    released.clear();
}

bool QueueCore::IsLoopThread() {
    std::lock_guard<std::mutex> hold(mutex);
    return looping && loopThread == std::this_thread::get_id();
}

bool QueueCore::IsIdle() {
    std::lock_guard<std::mutex> hold(mutex);
    return looping && !serving && items.empty() && !shutdown;
}

bool QueueCore::IsShutdown() {
    std::lock_guard<std::mutex> hold(mutex);
    return shutdown;
}

}  // namespace devhost

namespace dom {

MessageQueue::MessageQueue() : state_(new State) {}

MessageQueue::~MessageQueue() {
    // A queue that nobody holds any more lets its objects go.
    state_->core->Close();
    delete state_;
}

void MessageQueue::ShutdownQueue(ShutdownMode mode) {
    // Closing may free the last holder of this queue; the core stays for the call.
    std::shared_ptr<devhost::QueueCore> held = state_->core;
    devhost::QueueCore& core = *held;
    std::deque<devhost::QueueItem> dropped;
    bool idle;
    {
        std::lock_guard<std::mutex> hold(core.mutex);
        core.shutdown = true;
        core.changes.fetch_add(1, std::memory_order_release);
        idle = !core.looping;
        if (mode == SM_Immediate) {
            core.stopNow = true;
            dropped.swap(core.items);
        }
    }
    core.wake.notify_all();
    devhost::QueueCore::FailUnserved(dropped);
    // With no loop to end, nothing else would let the objects go.
    if (idle) core.Close();
}

bool MessageQueue::IsShutdown() const { return state_->core->IsShutdown(); }

GenericMessageQueue::GenericMessageQueue() = default;
GenericMessageQueue::~GenericMessageQueue() = default;

}  // namespace dom

