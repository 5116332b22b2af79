#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "dom/Message.h"
#include "dom/Proxy.h"
#include "du/Symbol.h"
#include "remote/InterfaceTable.h"
#include "remote/ProxyCall.h"

namespace webapi::remote {

// What the proxies of every interface share: the interface face first, then
// dom::ProxyObject, with du::RefCounted as their one virtual base. A proxy
// only sends; it adds no state of its own.
template <class I>
class ProxyBase : public I, public dom::ProxyObject {
public:
    ProxyBase(short table, const std::vector<int>& rebind) : dom::ProxyObject(table, rebind) {}

    short GetTableOffset(int) override { return 0; }

    short BaseClassOffsetByName(const du::Symbol& name) const override { return BaseClassOffsetOf<I>(name); }
    int GetBaseClassCount() const override { return 1; }
    int GetBaseClassParent(int) const override { return -1; }
    du::Symbol GetBaseClass(int index) override { return BaseClassOf<I>(index); }

protected:
    template <int Id, class Fn>
    ProxyCall<I, Id, Fn> Call() {
        return ProxyCall<I, Id, Fn>(*this);
    }

    // A message addressed to a proxy is the sender's fault.
    [[noreturn]] static void RejectMessage(const char* proxyClass) {
        throw std::runtime_error(std::string("Protocol Error:") + proxyClass +
                                 "::HandleMessage(const dom::MessagePtr&) called.");
    }
};

}  // namespace webapi::remote
