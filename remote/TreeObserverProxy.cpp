#include "remote/ProxyBase.h"
#include "remote/ProxyFactoryBase.h"
#include "remote/Registration.h"
#include "remote/TreeObserver.h"

namespace {

class webapi_TreeObserver_proxy final : public webapi::remote::ProxyBase<webapi::TreeObserver> {
public:
    using ProxyBase::ProxyBase;

    void HandleMessage(const dom::MessagePtr&) override { RejectMessage("webapi_TreeObserver_proxy"); }

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result Name Parameters override { return Call<Id, Result Parameters>() Arguments; }
#include "remote/TreeObserver.def"
};

class webapi_TreeObserver_proxy_Factory final
    : public webapi::remote::ProxyFactoryBase<webapi::TreeObserver, webapi_TreeObserver_proxy> {};

}  // namespace

template <>
dom::ProxyFactory* webapi::remote::NewProxyFactory<webapi::TreeObserver>() {
    return NewOnCommonHeap<webapi_TreeObserver_proxy_Factory>();
}
