#include "devhost/platform/ActorTasks.h"

#include "devhost/platform/ObjectRegistry.h"

namespace devhost {

bool PostTask(const du::SmartPtr<dom::ManagedObject>& object, std::function<void()> task) {
    if (!object || !task) return false;
    std::shared_ptr<QueueCore> queue;
    {
        std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
        const dom::ManagedObject::Binding& binding = object->GetBinding();
        if (!binding.bound) return false;
        queue = binding.queue;
    }
    return queue->Post(QueueItem{nullptr, std::move(task)});
}

void NotifyObserver(const du::RefCounted& observer, std::function<void()> call) {
    const auto* managed = dynamic_cast<const dom::ManagedObject*>(&observer);
    std::shared_ptr<QueueCore> queue;
    if (managed) {
        std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
        // The binding keeps naming the queue after its actor ended.
        queue = managed->GetBinding().queue;
    }
    if (!queue) {
        call();
        return;
    }
    queue->Post(QueueItem{nullptr, std::move(call)});  // refused once the actor has ended
}

}  // namespace devhost
