#include "dom/ManagedObject.h"

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>

#include "devhost/platform/Delivery.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/MessageContent.h"
#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/ProxyBinding.h"
#include "dom/MessageQueue.h"

namespace dom {

namespace {

// Binds object to queue; false when it is bound already or the queue is shut down.
bool Bind(ManagedObject& object, const std::shared_ptr<devhost::QueueCore>& queue, const du::Symbol& name) {
    devhost::ObjectRegistry& registry = devhost::ObjectRegistry::Get();
    std::lock_guard<std::mutex> holdRegistry(registry.mutex);
    ManagedObject::Binding& binding = object.GetBinding();
    if (binding.bound || binding.proxy) return false;
    {
        std::lock_guard<std::mutex> hold(queue->mutex);
        if (queue->shutdown) return false;
        queue->bound.emplace_back(&object);
    }
    binding.bound = true;
    binding.queue = queue;
    if (!name.IsNull()) {
        // A name published again now leads to the newer actor.
        registry.names[name] = binding.id;
        binding.actorName = name;
    }
    return true;
}

std::shared_ptr<devhost::QueueCore> QueueOf(const ManagedObject& object) {
    std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
    const ManagedObject::Binding& binding = object.GetBinding();
    return binding.bound ? binding.queue : nullptr;
}

}  // namespace

ManagedObject::ManagedObject() : binding_(new Binding) {
    devhost::ObjectRegistry& registry = devhost::ObjectRegistry::Get();
    std::lock_guard<std::mutex> hold(registry.mutex);
    binding_->id = registry.nextId++;
    registry.objects.emplace(binding_->id, this);
}

ManagedObject::~ManagedObject() {
    {
        devhost::ObjectRegistry& registry = devhost::ObjectRegistry::Get();
        std::lock_guard<std::mutex> hold(registry.mutex);
        registry.objects.erase(binding_->id);
        if (!binding_->actorName.IsNull()) {
            auto named = registry.names.find(binding_->actorName);
            if (named != registry.names.end() && named->second == binding_->id) registry.names.erase(named);
        }
    }
    delete binding_;
}

short ManagedObject::BaseClassOffsetByName(const du::Symbol&) const { return -1; }

int ManagedObject::GetBaseClassCount() const { return 0; }

int ManagedObject::GetBaseClassParent(int) const { return -1; }

du::Symbol ManagedObject::GetBaseClass(int) { return du::Symbol::EMPTY; }

du::Symbol ManagedObject::GetObjectClass() {
    const char* raw = typeid(*this).name();
    int status = 0;
    char* readable = abi::__cxa_demangle(raw, nullptr, nullptr, &status);
    du::Symbol name(status == 0 && readable ? readable : raw);
    std::free(readable);
    return name;
}

// An object that takes no messages tells its senders that it has no such table.
void ManagedObject::HandleMessage(const MessagePtr& message) { PrepMessageForReturnBadTable(message); }

void ManagedObject::HandleTimeoutEvent(long long) {}

bool ManagedObject::HandleOnIdleEvent() { return false; }

void ManagedObject::OnManage() {}

bool ManagedObject::ManageSelf(const du::SmartPtr<MessageQueue>& queue, const du::Symbol& name, Scope scope) {
    if (!queue || devhost::HitFault("dom::ManagedObject::ManageSelf")) return false;
    const std::shared_ptr<devhost::QueueCore>& core = queue->GetState().core;
    if (!Bind(*this, core, scope == SCOPE_Global ? name : du::Symbol())) return false;
    try {
        OnManage();
    } catch (...) {
        // An actor that could not come up is shut down, which also frees an
        // object that holds its own queue.
        core->Close();
        throw;
    }
    return true;
}

bool ManagedObject::ManageObject(const du::SmartPtr<ManagedObject>& object) {
    if (!object || devhost::HitFault("dom::ManagedObject::ManageObject")) return false;
    std::shared_ptr<devhost::QueueCore> queue = QueueOf(*this);
    if (!queue || !Bind(*object, queue, du::Symbol())) return false;
    object->OnManage();
    return true;
}

bool ManagedObject::UnmanageObject(const du::SmartPtr<ManagedObject>& object) {
    if (!object) return false;
    du::SmartPtr<ManagedObject> reference;
    {
        std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
        const Binding& mine = GetBinding();
        const Binding& theirs = object->GetBinding();
        if (!mine.bound || !theirs.bound || mine.queue != theirs.queue) return false;
        reference = devhost::UnbindLocked(*object, true);
    }
    return true;
}

bool ManagedObject::RunMessageLoop() {
    std::shared_ptr<devhost::QueueCore> queue = QueueOf(*this);
    if (!queue) return false;
    // Closing the queue lets go of this object; the caller may hold no other reference.
    du::SmartPtr<ManagedObject> self(this);
    return devhost::RunLoop(queue);
}

MessageWriter ManagedObject::StartNewMessage(unsigned short messageId) const {
    MessageWriter writer;
    writer.message_ = MessagePtr(new Message);
    Message::Content& content = writer.message_->GetContent();
    content.tag = static_cast<short>(messageId);
    std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
    if (binding_->proxy) {
        content.target = binding_->remoteObject;
        content.table = binding_->remoteTable;
    } else {
        content.target = binding_->id;
    }
    return writer;
}

void ManagedObject::DeliverMessage(const MessagePtr& message) const { devhost::Deliver(message); }

bool ManagedObject::FindActor(const du::Symbol& name, const du::Symbol& interfaceName,
                              du::SmartPtr<ManagedObject>& proxy) {
    devhost::HandleValue handle;
    {
        devhost::ObjectRegistry& registry = devhost::ObjectRegistry::Get();
        std::lock_guard<std::mutex> hold(registry.mutex);
        auto named = registry.names.find(name);
        if (named == registry.names.end()) return false;
        const Binding& binding = registry.objects.at(named->second)->GetBinding();
        handle.object = binding.id;
        handle.host = binding.queue->host.load();
    }
    return devhost::MakeProxy(handle, interfaceName, proxy);
}

bool ManagedObject::IsManaged() const {
    std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
    return binding_->bound;
}

}  // namespace dom
