#include "devhost/platform/ObjectRegistry.h"

#include <algorithm>
#include <string>

#include "dom/Exceptions.h"

namespace devhost {

ObjectRegistry& ObjectRegistry::Get() {
    // Never destroyed: objects may die in static destructors of any library.
    static ObjectRegistry* registry = new ObjectRegistry;
    return *registry;
}

std::shared_ptr<QueueCore> ResolveTarget(unsigned long long id) {
    ObjectRegistry& registry = ObjectRegistry::Get();
    std::lock_guard<std::mutex> hold(registry.mutex);
    auto found = registry.objects.find(id);
    if (found == registry.objects.end())
        throw dom::InvalidActorException("No object " + std::to_string(id) + " exists to take the message");
    dom::ManagedObject::Binding& binding = found->second->GetBinding();
    if (binding.bound) return binding.queue;
    if (binding.queue)
        throw dom::ActorShutdownException("The actor of object " + std::to_string(id) + " has been shut down");
    throw dom::InvalidActorException("Object " + std::to_string(id) + " is not managed by any actor");
}

du::SmartPtr<dom::ManagedObject> FindBoundObject(unsigned long long id, const QueueCore* queue) {
    ObjectRegistry& registry = ObjectRegistry::Get();
    std::lock_guard<std::mutex> hold(registry.mutex);
    auto found = registry.objects.find(id);
    if (found == registry.objects.end()) return nullptr;
    const dom::ManagedObject::Binding& binding = found->second->GetBinding();
    if (!binding.bound || (queue && binding.queue.get() != queue)) return nullptr;
    return du::SmartPtr<dom::ManagedObject>(found->second);
}

HandleValue HandleFor(const du::SmartPtr<dom::ManagedObject>& object, short table) {
    HandleValue handle;
    handle.table = table;
    if (!object) return handle;
    std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
    const dom::ManagedObject::Binding& binding = object->GetBinding();
    if (binding.proxy) {
        handle.object = binding.remoteObject;
        handle.table = binding.remoteTable;
        handle.host = binding.remoteHost;
    } else {
        handle.object = binding.id;
        handle.host = binding.bound ? binding.queue->host.load() : 0;
    }
    return handle;
}

du::SmartPtr<dom::ManagedObject> UnbindLocked(dom::ManagedObject& object, bool forget) {
    ObjectRegistry& registry = ObjectRegistry::Get();
    dom::ManagedObject::Binding& binding = object.GetBinding();
    du::SmartPtr<dom::ManagedObject> reference;
    if (binding.bound) {
        std::lock_guard<std::mutex> hold(binding.queue->mutex);
        auto& bound = binding.queue->bound;
        auto at = std::find_if(bound.begin(), bound.end(), [&](const auto& p) { return p.get() == &object; });
        if (at != bound.end()) {
            reference = std::move(*at);
            bound.erase(at);
        }
    }
    binding.bound = false;
    if (forget) binding.queue.reset();
    if (!binding.actorName.IsNull()) {
        auto named = registry.names.find(binding.actorName);
        if (named != registry.names.end() && named->second == binding.id) registry.names.erase(named);
        binding.actorName = du::Symbol();
    }
    return reference;
}

}  // namespace devhost
