#pragma once

#include "du/RefCounted.h"
#include "du/Symbol.h"
#include "remote/InterfaceTable.h"

namespace webapi {

// A client's listener for tree documents. Its methods are one-way, so the
// module never waits for the client.
class TreeObserver : public virtual du::RefCounted {
public:
    // The method table number of this interface in the implementing object.
    virtual short GetTableOffset(int) = 0;

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) virtual Result Name Parameters = 0;
#include "remote/TreeObserver.def"
};

}  // namespace webapi

namespace webapi::remote {

template <>
struct InterfaceTable<TreeObserver> {
    static constexpr const char* kName = "webapi::TreeObserver";
    static constexpr bool kOneWay = true;
    static constexpr MethodEntry kMethods[] = {
#define WEBAPI_METHOD(Id, Index, Name, Signature, ...) {Id, Index, Signature},
#include "remote/TreeObserver.def"
    };
};
static_assert(IdentitiesAgree<TreeObserver>(), "ids or indices of webapi::TreeObserver disagree");

}  // namespace webapi::remote
