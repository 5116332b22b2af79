#include "devhost/client/CallbackReceivers.h"

#include <cstddef>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "dom/MessageReader.h"
#include "remote/WireValue.h"

namespace devhost {
namespace {

std::string Describe(const du::Symbol& text) { return text.IsNull() ? "(null)" : text.str(); }
std::string Describe(int value) { return std::to_string(value); }

template <class... Arguments>
ReceivedCall Call(const char* method, const std::tuple<Arguments...>& arguments) {
    return std::apply([method](const auto&... each) { return ReceivedCall{method, {Describe(each)...}}; },
                      arguments);
}

// Decodes the arguments of one callback in signature order and makes the
// call; false when a value is missing or mistyped.
template <class Interface, class... Parameters, std::size_t... K>
bool Receive(dom::MessageReader& reader, Interface& object, void (Interface::*method)(Parameters...),
             std::index_sequence<K...>) {
    const std::optional<dom::Helper> noHelper;
    std::tuple<typename webapi::remote::WireValue<Parameters>::Local...> locals;
    if (!(webapi::remote::WireValue<Parameters>::Read(reader, noHelper, std::get<K>(locals)) && ...)) return false;
    (object.*method)(std::get<K>(locals)...);
    return true;
}

template <class Interface, class... Parameters>
bool Receive(dom::MessageReader& reader, Interface& object, void (Interface::*method)(Parameters...)) {
    return Receive(reader, object, method, std::index_sequence_for<Parameters...>());
}

}  // namespace

TreeObserverReceiver::TreeObserverReceiver(CallbackSink sink) : sink_(std::move(sink)) {}

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result TreeObserverReceiver::Name Parameters { sink_(Call(#Name, std::make_tuple Arguments)); }
#include "remote/TreeObserver.def"

short TreeObserverReceiver::BaseClassOffsetByName(const du::Symbol& name) const {
    return webapi::remote::BaseClassOffsetOf<webapi::TreeObserver>(name);
}

du::Symbol TreeObserverReceiver::GetBaseClass(int index) {
    return webapi::remote::BaseClassOf<webapi::TreeObserver>(index);
}

void TreeObserverReceiver::HandleMessage(const dom::MessagePtr& message) {
    dom::MessageReader reader(message);
    bool served = false;
    switch (static_cast<unsigned short>(message->GetTag())) {
#define WEBAPI_METHOD(Id, Index, Name, ...)                                        \
    case Id:                                                                       \
        served = Receive<webapi::TreeObserver>(reader, *this, &webapi::TreeObserver::Name); \
        break;
#include "remote/TreeObserver.def"
        default:
            break;
    }
    if (!served) dom::PrepMessageForReturnBadTag(message);
}

ViewablesRequestReceiver::ViewablesRequestReceiver(CallbackSink sink) : sink_(std::move(sink)) {}

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result ViewablesRequestReceiver::Name Parameters { sink_(Call(#Name, std::make_tuple Arguments)); }
#include "remote/ViewablesRequest.def"

short ViewablesRequestReceiver::BaseClassOffsetByName(const du::Symbol& name) const {
    return webapi::remote::BaseClassOffsetOf<webapi::ViewablesRequest>(name);
}

du::Symbol ViewablesRequestReceiver::GetBaseClass(int index) {
    return webapi::remote::BaseClassOf<webapi::ViewablesRequest>(index);
}

void ViewablesRequestReceiver::HandleMessage(const dom::MessagePtr& message) {
    dom::MessageReader reader(message);
    bool served = false;
    switch (static_cast<unsigned short>(message->GetTag())) {
#define WEBAPI_METHOD(Id, Index, Name, ...)                                                    \
    case Id:                                                                                   \
        served = Receive<webapi::ViewablesRequest>(reader, *this, &webapi::ViewablesRequest::Name); \
        break;
#include "remote/ViewablesRequest.def"
        default:
            break;
    }
    if (!served) dom::PrepMessageForReturnBadTag(message);
}

}  // namespace devhost
