#pragma once

#include "dom/Proxy.h"
#include "du/Symbol.h"

namespace webapi {
class WebApiModule;
class TreeObserver;
class ViewablesRequest;
}  // namespace webapi

namespace webapi::remote {

// The signature constant at the given sorted index of interface I. The
// constants are built when the library is loaded, before I's factory is
// registered, and live until it is unloaded.
template <class I>
const du::Symbol& SignatureConstant(int index);

template <>
const du::Symbol& SignatureConstant<WebApiModule>(int index);
template <>
const du::Symbol& SignatureConstant<TreeObserver>(int index);
template <>
const du::Symbol& SignatureConstant<ViewablesRequest>(int index);

// A new factory of interface I on the common heap, or null when memory
// cannot be had; each interface's proxy source defines its own.
template <class I>
dom::ProxyFactory* NewProxyFactory();

template <>
dom::ProxyFactory* NewProxyFactory<WebApiModule>();
template <>
dom::ProxyFactory* NewProxyFactory<TreeObserver>();
template <>
dom::ProxyFactory* NewProxyFactory<ViewablesRequest>();

}  // namespace webapi::remote
