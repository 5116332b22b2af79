#include "remote/ProxyBase.h"
#include "remote/ProxyFactoryBase.h"
#include "remote/Registration.h"
#include "remote/WebApiModule.h"

namespace {

class webapi_WebApiModule_proxy final : public webapi::remote::ProxyBase<webapi::WebApiModule> {
public:
    using ProxyBase::ProxyBase;

    void HandleMessage(const dom::MessagePtr&) override { RejectMessage("webapi_WebApiModule_proxy"); }

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result Name Parameters override { return Call<Id, Result Parameters>() Arguments; }
#include "remote/WebApiModule.def"
};

class webapi_WebApiModule_proxy_Factory final
    : public webapi::remote::ProxyFactoryBase<webapi::WebApiModule, webapi_WebApiModule_proxy> {};

}  // namespace

template <>
dom::ProxyFactory* webapi::remote::NewProxyFactory<webapi::WebApiModule>() {
    return NewOnCommonHeap<webapi_WebApiModule_proxy_Factory>();
}
