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

}  // namespace devhost
