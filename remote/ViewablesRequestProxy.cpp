#include "remote/ProxyBase.h"
#include "remote/ProxyFactoryBase.h"
#include "remote/Registration.h"
#include "remote/ViewablesRequest.h"

namespace {

class webapi_ViewablesRequest_proxy final : public webapi::remote::ProxyBase<webapi::ViewablesRequest> {
public:
    using ProxyBase::ProxyBase;

    void HandleMessage(const dom::MessagePtr&) override { RejectMessage("webapi_ViewablesRequest_proxy"); }

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result Name Parameters override { return Call<Id, Result Parameters>() Arguments; }
#include "remote/ViewablesRequest.def"
};

class webapi_ViewablesRequest_proxy_Factory final
    : public webapi::remote::ProxyFactoryBase<webapi::ViewablesRequest, webapi_ViewablesRequest_proxy> {};

}  // namespace

template <>
dom::ProxyFactory* webapi::remote::NewProxyFactory<webapi::ViewablesRequest>() {
    return NewOnCommonHeap<webapi_ViewablesRequest_proxy_Factory>();
}
