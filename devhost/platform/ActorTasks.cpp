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

TaskRoute RouteTask(unsigned long long objectId, std::function<void()> task) {
    std::shared_ptr<QueueCore> queue;
    {
        ObjectRegistry& registry = ObjectRegistry::Get();
        std::lock_guard<std::mutex> hold(registry.mutex);
        auto found = registry.objects.find(objectId);
        if (found == registry.objects.end()) return TaskRoute::Dropped;
        const dom::ManagedObject::Binding& binding = found->second->GetBinding();
        // A queue named without the binding is one that has closed.
        if (!binding.bound) return binding.queue ? TaskRoute::Dropped : TaskRoute::NoActor;
        queue = binding.queue;
    }
    return queue->Post(QueueItem{nullptr, std::move(task)}) ? TaskRoute::Posted : TaskRoute::Dropped;
}

unsigned long long ObjectIdOf(const dom::ManagedObject& object) { return object.GetBinding().id; }

du::SmartPtr<dom::ManagedObject> FindLiveObject(unsigned long long objectId) {
    ObjectRegistry& registry = ObjectRegistry::Get();
    std::lock_guard<std::mutex> hold(registry.mutex);
    auto found = registry.objects.find(objectId);
    if (found == registry.objects.end()) return nullptr;
    dom::ManagedObject* object = found->second;
    // Under the registry's lock the object cannot leave the registry, and so
    // cannot be freed, while its count is taken.
    if (!object->AddReferenceIfAlive(&object)) return nullptr;
    du::SmartPtr<dom::ManagedObject> counted(object);
    object->RemoveReference(&object);
    return counted;
}

}  // namespace devhost
