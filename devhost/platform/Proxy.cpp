#include "dom/Proxy.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/PeerHosts.h"
#include "devhost/platform/ProxyBinding.h"

namespace dom {

ProxyObject::ProxyObject(short table, const std::vector<int>& rebind) : table_(table), rebind_(rebind) {
    std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
    GetBinding().proxy = true;
    GetBinding().remoteTable = table;
}

ProxyObject::~ProxyObject() = default;

const char* ProxyObject::GetDebugClassName() const { return "dom::ProxyObject"; }

int ProxyObject::Rebind(int messageId) const {
    if (rebind_.empty()) return messageId;
    if (messageId < 0 || static_cast<std::size_t>(messageId) >= rebind_.size()) return -1;
    return rebind_[static_cast<std::size_t>(messageId)];
}

struct ProxyFactory::Tables {
    std::mutex mutex;
    // Built once per host and never changed, so references stay valid.
    std::map<unsigned int, std::vector<int>> byHost;
};

ProxyFactory::ProxyFactory() : tables_(new Tables) {}

ProxyFactory::~ProxyFactory() { delete tables_; }

const char* ProxyFactory::GetDebugClassName() const { return "dom::ProxyFactory"; }

const std::vector<int>& ProxyFactory::GetRebindTableForHost(unsigned int host) const {
    std::lock_guard<std::mutex> hold(tables_->mutex);
    auto known = tables_->byHost.find(host);
    if (known != tables_->byHost.end()) return known->second;

    const int count = GetMethodCount();
    int size = 0;
    for (int index = 0; index < count; ++index) size = std::max(size, GetMethodId(index) + 1);
    std::vector<int> table(static_cast<std::size_t>(size), -1);
    // A peer that did not describe the interface is taken to share this
    // side's declaration order, as this host itself does.
    std::vector<du::Symbol> peer;
    const bool described = host != 0 && devhost::FindPeerInterface(host, GetInterfaceName(), peer);
    for (int index = 0; index < count; ++index) {
        const int id = GetMethodId(index);
        if (id < 0) continue;
        int remote = id;
        if (described) {
            auto at = std::find(peer.begin(), peer.end(), GetMethodSignature(index));
            remote = at == peer.end() ? -1 : static_cast<int>(at - peer.begin());
        }
        table[static_cast<std::size_t>(id)] = remote;
    }
    return tables_->byHost.emplace(host, std::move(table)).first->second;
}

}  // namespace dom

namespace devhost {

namespace {

// Made the way factories make theirs, so that a heap that cannot give
// memory fails the decoding instead of throwing through the reader.
dom::ProxyObject* MakeUntypedProxy(short table) {
    void* memory = du::CommonAllocatorImpl::Allocate(sizeof(dom::ProxyObject));
    return memory ? new (memory) dom::ProxyObject(table, std::vector<int>()) : nullptr;
}

}  // namespace

bool MakeProxy(const HandleValue& handle, const du::Symbol& interfaceName, du::SmartPtr<dom::ManagedObject>& proxy) {
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(interfaceName);
    if (!factory) return false;
    du::SmartPtr<dom::ManagedObject> target = FindBoundObject(handle.object);
    const bool typed = !target || target->BaseClassOffsetByName(interfaceName) >= 0;
    target.reset();
    du::SmartPtr<dom::ManagedObject> made(typed ? factory->CreateProxy(static_cast<unsigned short>(handle.table), handle.host)
                                                : MakeUntypedProxy(handle.table));
    if (!made) return false;
    {
        std::lock_guard<std::mutex> hold(ObjectRegistry::Get().mutex);
        dom::ManagedObject::Binding& binding = made->GetBinding();
        binding.remoteObject = handle.object;
        binding.remoteTable = handle.table;
        binding.remoteHost = handle.host;
    }
    proxy = made;
    return true;
}

}  // namespace devhost
