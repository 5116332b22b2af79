#include "remote/Registration.h"

#include <array>
#include <cstddef>
#include <utility>

#include "remote/FactoryRegistration.h"
#include "remote/InterfaceTable.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"
#include "remote/WebApiModule.h"

namespace webapi::remote {
namespace {

template <class I>
using SignatureArray = std::array<du::Symbol, static_cast<std::size_t>(MethodCount<I>())>;

// Braced elements are built in order, so the constants come to be in index
// order.
template <class I, std::size_t... K>
SignatureArray<I> BuildSignatures(std::index_sequence<K...>) {
    static constexpr auto sorted = SortedMethods<I>();
    return {{du::Symbol(sorted[K].signature)...}};
}

template <class I>
SignatureArray<I> BuildSignatures() {
    return BuildSignatures<I>(std::make_index_sequence<static_cast<std::size_t>(MethodCount<I>())>());
}

// Built at load in this order, one interface after the other: its signature
// constants, then its factory, so that no factory publishes an unbuilt
// constant. Unloading runs the same in reverse.
const SignatureArray<WebApiModule> s_webApiModuleSignatures = BuildSignatures<WebApiModule>();
FactoryRegistration s_webApiModuleFactory(NewProxyFactory<WebApiModule>());

const SignatureArray<TreeObserver> s_treeObserverSignatures = BuildSignatures<TreeObserver>();
FactoryRegistration s_treeObserverFactory(NewProxyFactory<TreeObserver>());

const SignatureArray<ViewablesRequest> s_viewablesRequestSignatures = BuildSignatures<ViewablesRequest>();
FactoryRegistration s_viewablesRequestFactory(NewProxyFactory<ViewablesRequest>());

}  // namespace

template <>
const du::Symbol& SignatureConstant<WebApiModule>(int index) {
    return s_webApiModuleSignatures[static_cast<std::size_t>(index)];
}

template <>
const du::Symbol& SignatureConstant<TreeObserver>(int index) {
    return s_treeObserverSignatures[static_cast<std::size_t>(index)];
}

template <>
const du::Symbol& SignatureConstant<ViewablesRequest>(int index) {
    return s_viewablesRequestSignatures[static_cast<std::size_t>(index)];
}

}  // namespace webapi::remote
