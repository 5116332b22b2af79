#pragma once

#include <optional>
#include <stdexcept>
#include <type_traits>

#include "dom/Helper.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"
#include "dom/Proxy.h"
#include "du/SmartPtr.h"
#include "remote/InterfaceTable.h"
#include "remote/WireValue.h"

namespace webapi::remote {

// One call of method Id, of type Fn, through a proxy of interface I: packs
// the arguments into a message for the remote object and, unless the
// interface is one-way, waits for the reply and reads the one value back.
template <class I, int Id, class Fn>
class ProxyCall;

template <class I, int Id, class Result, class... Parameters>
class ProxyCall<I, Id, Result(Parameters...)> {
public:
    explicit ProxyCall(dom::ProxyObject& proxy) : proxy_(proxy) {}

    Result operator()(Parameters... arguments) const {
        std::optional<dom::Helper> helper;
        if constexpr (kNeedsHelper<Parameters...>) helper.emplace(du::SmartPtr<dom::ManagedObject>(&proxy_));

        dom::MessageWriter writer = proxy_.StartNewMessage(static_cast<unsigned short>(proxy_.Rebind(Id)));
        (WireValue<Parameters>::Push(writer, helper, arguments), ...);
        if constexpr (InterfaceTable<I>::kOneWay)
            writer.ClearNeedsReplyFlag();
        else
            writer.MarkNeedsReplyFlag();
        dom::MessagePtr message = writer.FinaliseMessage();
        proxy_.DeliverMessage(message);

        // The reply holds the result first, then any out argument.
        if constexpr (!std::is_void_v<Result>) {
            Result result{};
            dom::MessageReader reader(message);
            Take(reader, result);
            (TakeOut<Parameters>(reader, arguments), ...);
            return result;
        } else if constexpr (kHasOut<Parameters...>) {
            dom::MessageReader reader(message);
            (TakeOut<Parameters>(reader, arguments), ...);
        }
    }

private:
    template <class Value>
    static void Take(dom::MessageReader& reader, Value& value) {
        if (!ResultWireValue<Value>::Read(reader, std::nullopt, value))
            throw std::runtime_error("ProtocolError extracting return value");
    }

    template <class Parameter, class Argument>
    static void TakeOut(dom::MessageReader& reader, Argument& argument) {
        if constexpr (WireValue<Parameter>::kOut) Take(reader, argument);
    }

    dom::ProxyObject& proxy_;
};

}  // namespace webapi::remote
