#include "devhost/platform/Timers.h"

#include "devhost/platform/ObjectRegistry.h"

namespace devhost {

namespace {

// The object's id and queue, or a null queue when it is not managed.
std::shared_ptr<QueueCore> QueueOf(const du::SmartPtr<dom::ManagedObject>& object, unsigned long long& id) {
    if (!object) return nullptr;
    std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
    const dom::ManagedObject::Binding& binding = object->GetBinding();
    id = binding.id;
    return binding.bound ? binding.queue : nullptr;
}

// Removes the timer from the queue's list; the queue's mutex is held.
bool Remove(QueueCore& queue, unsigned long long object, long long timerId) {
    for (auto timer = queue.timers.begin(); timer != queue.timers.end(); ++timer) {
        if (timer->second.object == object && timer->second.timerId == timerId) {
            queue.timers.erase(timer);
            return true;
        }
    }
    return false;
}

}  // namespace

bool StartTimer(const du::SmartPtr<dom::ManagedObject>& object, long long timerId, std::chrono::milliseconds delay) {
    unsigned long long id = 0;
    std::shared_ptr<QueueCore> queue = QueueOf(object, id);
    if (!queue) return false;
    {
        std::lock_guard<std::mutex> hold(queue->mutex);
        if (queue->shutdown) return false;
        Remove(*queue, id, timerId);
        queue->timers.emplace(std::chrono::steady_clock::now() + delay, QueueTimer{id, timerId});
        queue->changes.fetch_add(1, std::memory_order_release);
    }
    queue->wake.notify_all();
    return true;
}

bool CancelTimer(const du::SmartPtr<dom::ManagedObject>& object, long long timerId) {
    unsigned long long id = 0;
    std::shared_ptr<QueueCore> queue = QueueOf(object, id);
    if (!queue) return false;
    std::lock_guard<std::mutex> hold(queue->mutex);
    return Remove(*queue, id, timerId);
}

}  // namespace devhost
