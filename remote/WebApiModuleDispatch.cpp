#include "remote/WebApiModuleDispatch.h"

#include <cstddef>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "dom/Helper.h"
#include "dom/ManagedObject.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"
#include "dp/QXTracer.h"
#include "remote/WireValue.h"

namespace webapi {
namespace {

const dp::QXTracer s_tracer("<generated code>", "WebApiModule");

// The words name the local implementation, and follow the number without a blank.
constexpr const char kForInterface[] = "for interface \"webapi::WebApiModuleLocalImpl\".\n";

template <class Parameter, class Local>
void PushOut(dom::MessageWriter& writer, const Local& local) {
    if constexpr (remote::WireValue<Parameter>::kOut) remote::ResultWireValue<Local>::Push(writer, std::nullopt, local);
}

// Every request gets a reply, also from a method without a result: the
// result if there is one, then any out argument.
template <class... Parameters, class Locals, std::size_t... K, class... Result>
void WriteReply(const dom::MessagePtr& message, const Locals& locals, std::index_sequence<K...>,
                const Result&... result) {
    dom::MessageWriter writer;
    writer.StartMessageReply(message);
    (remote::ResultWireValue<Result>::Push(writer, std::nullopt, result), ...);
    (PushOut<Parameters>(writer, std::get<K>(locals)), ...);
    writer.FinaliseMessage();
}

// Decodes the arguments of one method in the order of its signature, calls
// it and replies. False when a value fails to decode; the locals are gone by
// the time the caller reports it.
template <class Result, class... Parameters, std::size_t... K>
bool Serve(const dom::MessagePtr& message, dom::MessageReader& reader, du::SmartPtr<WebApiModule>& module,
           Result (WebApiModule::*method)(Parameters...), std::index_sequence<K...> indices) {
    std::optional<dom::Helper> helper;
    if constexpr (remote::kNeedsHelper<Parameters...>)
        helper.emplace(du::SmartPtr<dom::ManagedObject>(dynamic_cast<dom::ManagedObject*>(module.get())));

    std::tuple<typename remote::WireValue<Parameters>::Local...> locals;
    if (!(remote::WireValue<Parameters>::Read(reader, helper, std::get<K>(locals)) && ...)) return false;

    if constexpr (std::is_void_v<Result>) {
        (module.get()->*method)(std::get<K>(locals)...);
        WriteReply<Parameters...>(message, locals, indices);
    } else {
        const Result result = (module.get()->*method)(std::get<K>(locals)...);
        WriteReply<Parameters...>(message, locals, indices, result);
    }
    return true;
}

template <class Result, class... Parameters>
bool Serve(const dom::MessagePtr& message, dom::MessageReader& reader, du::SmartPtr<WebApiModule>& module,
           Result (WebApiModule::*method)(Parameters...)) {
    return Serve(message, reader, module, method, std::index_sequence_for<Parameters...>());
}

}  // namespace

void DispatchWebApiModuleMessage(const dom::MessagePtr& message, du::SmartPtr<WebApiModule>& module) {
    dom::MessageReader reader(message);
    const short tag = message->GetTag();
    bool served = false;
    // Negative tags are above every id when taken as unsigned.
    switch (static_cast<unsigned short>(tag)) {
#define WEBAPI_METHOD(Id, Index, Name, ...)                           \
    case Id:                                                          \
        served = Serve(message, reader, module, &WebApiModule::Name); \
        break;
#include "remote/WebApiModule.def"
        default:
            break;
    }
    if (served) return;
    dp::QXTracer tracer(s_tracer);
    tracer(dp::TT_Error) << "Unexpected tag offset " << tag << kForInterface;
    dom::PrepMessageForReturnBadTag(message);
}

void RejectWebApiModuleTable(const dom::MessagePtr& message) {
    dp::QXTracer tracer(s_tracer);
    tracer(dp::TT_Error) << "Unexpected method table " << message->GetMethodTable() << kForInterface;
    dom::PrepMessageForReturnBadTable(message);
}

}  // namespace webapi
