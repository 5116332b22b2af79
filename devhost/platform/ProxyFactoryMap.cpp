#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "dom/Proxy.h"

namespace dom {

namespace {

struct Registered {
    std::mutex mutex;
    std::vector<std::pair<du::Symbol, ProxyFactory*>> factories;  // in order of registration
};

Registered& TheRegistered() {
    static Registered* registered = new Registered;
    return *registered;
}

class ProcessFactoryMap final : public ProxyFactoryMap {};

}  // namespace

ProxyFactoryMap::ProxyFactoryMap() = default;
ProxyFactoryMap::~ProxyFactoryMap() = default;

ProxyFactoryMap& ProxyFactoryMap::Instance() {
    // Never destroyed: plug-ins unregister their factories at unload, which
    // may come after this library's static destructors.
    static ProcessFactoryMap* map = new ProcessFactoryMap;
    return *map;
}

void ProxyFactoryMap::AddFactory(ProxyFactory* factory) {
    if (!factory) return;
    du::Symbol name = factory->GetInterfaceName();
    Registered& r = TheRegistered();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.factories.emplace_back(std::move(name), factory);
}

void ProxyFactoryMap::RemoveFactory(ProxyFactory* factory) {
    Registered& r = TheRegistered();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.factories.erase(std::remove_if(r.factories.begin(), r.factories.end(),
                                     [&](const auto& entry) { return entry.second == factory; }),
                      r.factories.end());
}

ProxyFactory* ProxyFactoryMap::FindFactory(const du::Symbol& interfaceName) const {
    Registered& r = TheRegistered();
    std::lock_guard<std::mutex> hold(r.mutex);
    for (auto entry = r.factories.rbegin(); entry != r.factories.rend(); ++entry)
        if (entry->first == interfaceName) return entry->second;
    return nullptr;
}

}  // namespace dom
