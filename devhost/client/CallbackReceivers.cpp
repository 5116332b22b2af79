#include "devhost/client/CallbackReceivers.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <tuple>
#include <utility>

#include "dom/MessageReader.h"
#include "remote/WireValue.h"

namespace devhost {
namespace {

// Decodes the arguments of one callback in signature order and makes the
// call; false when a value is missing or mistyped.
template <class I, class... Parameters, std::size_t... K>
bool Receive(dom::MessageReader& reader, I& object, void (I::*method)(Parameters...), std::index_sequence<K...>) {
    const std::optional<dom::Helper> noHelper;
    std::tuple<typename webapi::remote::WireValue<Parameters>::Local...> locals;
    if (!(webapi::remote::WireValue<Parameters>::Read(reader, noHelper, std::get<K>(locals)) && ...)) return false;
    (object.*method)(std::get<K>(locals)...);
    return true;
}

template <class I, class... Parameters>
bool Receive(dom::MessageReader& reader, I& object, void (I::*method)(Parameters...)) {
    return Receive(reader, object, method, std::index_sequence_for<Parameters...>());
}

template <class I, auto Method>
bool Decode(dom::MessageReader& reader, I& object) {
    return Receive(reader, object, Method);
}

// The decoder of each callback, by message id.
template <class I>
using Decoder = bool (*)(dom::MessageReader&, I&);

template <class I>
extern const Decoder<I> kDecoders[];

template <>
const Decoder<webapi::TreeObserver> kDecoders<webapi::TreeObserver>[] = {
#define WEBAPI_METHOD(Id, Index, Name, ...) &Decode<webapi::TreeObserver, &webapi::TreeObserver::Name>,
#include "remote/TreeObserver.def"
};

template <>
const Decoder<webapi::ViewablesRequest> kDecoders<webapi::ViewablesRequest>[] = {
#define WEBAPI_METHOD(Id, Index, Name, ...) &Decode<webapi::ViewablesRequest, &webapi::ViewablesRequest::Name>,
#include "remote/ViewablesRequest.def"
};

}  // namespace

template <class I>
void CallbackReceiver<I>::HandleMessage(const dom::MessagePtr& message) {
    dom::MessageReader reader(message);
    const auto id = static_cast<unsigned short>(message->GetTag());
    if (id < std::size(kDecoders<I>) && kDecoders<I>[id](reader, *this)) return;
    dom::PrepMessageForReturnBadTag(message);
}

template class CallbackReceiver<webapi::TreeObserver>;
template class CallbackReceiver<webapi::ViewablesRequest>;

}  // namespace devhost
