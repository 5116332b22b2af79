#pragma once

#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "dom/Helper.h"
#include "dom/ManagedObject.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "remote/InterfaceHandle.h"

namespace webapi::remote {

// How a parameter of an interface method travels in a message, by its type
// in the method's declaration. Each kind offers:
//   Local                     what the receiving side decodes into
//   kNeedsHelper              the kind is written or read through a dom::Helper
//   kOut                      the value travels back in the reply instead
//   Push(writer, helper, v)   writes the value into a request
//   Read(reader, helper, v)   reads it from a request; false on a missing or
//                             mistyped value
template <class Parameter>
struct WireValue;

template <class T, auto kPush, auto kGet>
struct PlainWireValue {
    using Local = T;
    static constexpr bool kNeedsHelper = false;
    static constexpr bool kOut = false;
    static void Push(dom::MessageWriter& writer, const std::optional<dom::Helper>&, const T& value) {
        (writer.*kPush)(value);
    }
    static bool Read(dom::MessageReader& reader, const std::optional<dom::Helper>&, T& value) {
        return (reader.*kGet)(value);
    }
};

template <>
struct WireValue<const du::Symbol&>
    : PlainWireValue<du::Symbol, &dom::MessageWriter::PushStringValue, &dom::MessageReader::GetStringValue> {};
template <>
struct WireValue<double>
    : PlainWireValue<double, &dom::MessageWriter::PushDoubleValue, &dom::MessageReader::GetDoubleValue> {};
template <>
struct WireValue<int> : PlainWireValue<int, &dom::MessageWriter::PushInt32Value, &dom::MessageReader::GetInt32Value> {};
template <>
struct WireValue<unsigned int>
    : PlainWireValue<unsigned int, &dom::MessageWriter::PushUInt32Value, &dom::MessageReader::GetUInt32Value> {};
template <>
struct WireValue<bool>
    : PlainWireValue<bool, &dom::MessageWriter::PushBooleanValue, &dom::MessageReader::GetBooleanValue> {};

// A sequence of strings: an unsigned count, then each string.
template <>
struct WireValue<const std::vector<du::Symbol>&> {
    using Local = std::vector<du::Symbol>;
    static constexpr bool kNeedsHelper = true;
    static constexpr bool kOut = false;
    static void Push(dom::MessageWriter& writer, const std::optional<dom::Helper>&,
                     const std::vector<du::Symbol>& values) {
        writer.PushUInt32Value(static_cast<unsigned int>(values.size()));
        for (const du::Symbol& value : values) writer.PushStringValue(value);
    }
    // The vector grows as the strings arrive instead of being resized to the
    // count first: the count comes from the client, and one that the message
    // cannot back would otherwise allocate gigabytes, or throw and end the
    // actor. A message with fewer strings than its count fails at the first
    // missing one; for any count that the message does back, the vector and
    // the call are as a resize would have made them.
    static bool Read(dom::MessageReader& reader, const std::optional<dom::Helper>&, std::vector<du::Symbol>& values) {
        unsigned int count = 0;
        if (!reader.GetUInt32Value(count)) return false;
        for (unsigned int read = 0; read < count; ++read) {
            du::Symbol value;
            if (!reader.GetStringValue(value)) return false;
            values.push_back(std::move(value));
        }
        return true;
    }
};

// A reference to a remote object, with the table number of its interface;
// a null reference has table 0.
template <class I>
struct WireValue<const du::SmartPtr<I>&> {
    using Local = du::SmartPtr<I>;
    static constexpr bool kNeedsHelper = true;
    static constexpr bool kOut = false;
    static void Push(dom::MessageWriter& writer, const std::optional<dom::Helper>& helper,
                     const du::SmartPtr<I>& object) {
        const short table = object ? object->GetTableOffset(0) : 0;
        const du::SmartPtr<dom::ManagedObject> managed(dynamic_cast<dom::ManagedObject*>(object.get()));
        helper->PushHandleValue(managed, table, writer);
    }
    static bool Read(dom::MessageReader& reader, const std::optional<dom::Helper>& helper, du::SmartPtr<I>& object) {
        return GetInterfaceHandle<I>(*helper, object, reader);
    }
};

// A string passed out: nothing goes in the request, and the reply carries it.
template <>
struct WireValue<du::Symbol&> {
    using Local = du::Symbol;
    static constexpr bool kNeedsHelper = false;
    static constexpr bool kOut = true;
    static void Push(dom::MessageWriter&, const std::optional<dom::Helper>&, const du::Symbol&) {}
    static bool Read(dom::MessageReader&, const std::optional<dom::Helper>&, du::Symbol&) { return true; }
};

// The kind of a method's result, or of an out argument in the reply.
template <class Result>
using ResultWireValue = WireValue<std::conditional_t<std::is_class_v<Result>, const Result&, Result>>;

template <class... Parameters>
constexpr bool kNeedsHelper = (WireValue<Parameters>::kNeedsHelper || ...);

template <class... Parameters>
constexpr bool kHasOut = (WireValue<Parameters>::kOut || ...);

}  // namespace webapi::remote
