#pragma once

#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "remote/InterfaceTable.h"

namespace webapi {

class TreeObserver;
class ViewablesRequest;

// The service of this module, as its clients call it.
class WebApiModule : public virtual du::RefCounted {
public:
    // The method table number of this interface in the implementing object.
    virtual short GetTableOffset(int) = 0;

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) virtual Result Name Parameters = 0;
#include "remote/WebApiModule.def"
};

}  // namespace webapi

namespace webapi::remote {

template <>
struct InterfaceTable<WebApiModule> {
    static constexpr const char* kName = "webapi::WebApiModule";
    static constexpr bool kOneWay = false;
    static constexpr MethodEntry kMethods[] = {
#define WEBAPI_METHOD(Id, Index, Name, Signature, ...) {Id, Index, Signature},
#include "remote/WebApiModule.def"
    };
};
static_assert(IdentitiesAgree<WebApiModule>(), "ids or indices of webapi::WebApiModule disagree");

}  // namespace webapi::remote
