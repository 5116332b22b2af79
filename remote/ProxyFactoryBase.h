#pragma once

#include <new>
#include <utility>
#include <vector>

#include "dom/Proxy.h"
#include "du/CommonAllocated.h"
#include "du/Symbol.h"
#include "remote/InterfaceTable.h"
#include "remote/Registration.h"

namespace webapi::remote {

// Makes a T on the host's common heap; null when memory cannot be had.
template <class T, class... Arguments>
T* NewOnCommonHeap(Arguments&&... arguments) {
    void* memory = du::CommonAllocatorImpl::Allocate(sizeof(T));
    if (memory == nullptr) return nullptr;
    return new (memory) T(std::forward<Arguments>(arguments)...);
}

// Describes interface I to the messaging layer, with its signatures in index
// order, and makes proxies of class Proxy.
template <class I, class Proxy>
class ProxyFactoryBase : public dom::ProxyFactory {
public:
    du::Symbol GetInterfaceName() const override { return du::Symbol(InterfaceTable<I>::kName); }

    dom::ProxyObject* CreateProxy(unsigned short table, unsigned int host) override {
        void* memory = du::CommonAllocatorImpl::Allocate(sizeof(Proxy));
        if (memory == nullptr) return nullptr;
        const std::vector<int>& rebind = GetRebindTableForHost(host);
        return new (memory) Proxy(static_cast<short>(table), rebind);
    }

    int GetMethodCount() const override { return MethodCount<I>(); }

    du::Symbol GetMethodSignature(int index) const override {
        return InRange(index) ? SignatureConstant<I>(index) : du::Symbol::EMPTY;
    }

    int GetMethodId(int index) const override {
        static constexpr auto sorted = SortedMethods<I>();
        return InRange(index) ? sorted[static_cast<std::size_t>(index)].id : -1;
    }

private:
    static bool InRange(int index) { return index >= 0 && index < MethodCount<I>(); }
};

}  // namespace webapi::remote
