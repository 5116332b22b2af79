#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include <rapidjson/document.h>

#include "devhost/gateway/SignatureCatalog.h"
#include "devhost/platform/MessageValue.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost::gateway {

using Json = rapidjson::Value;
using JsonAllocator = rapidjson::Document::AllocatorType;

// How a web client's values meet a session's callback objects: the text
// "session" stands for the session's own object of an interface, and a
// handle of one of those objects reads back as "session".
struct SessionObjects {
    // The session's object of the named interface, or null when it has none.
    std::function<du::SmartPtr<dom::ManagedObject>(const std::string& interfaceName)> objectFor;
    std::function<bool(const HandleValue& handle)> owns;
};

// Appends the message values of one argument of a type code, from its JSON
// form: "S" a string or null (the null Symbol), "d" a number, "l" and "ul"
// integers in range, "b" a boolean, "Q" and a code an array (a count, then
// each element), "R" and an interface name "session" or null. error tells
// what does not fit.
bool EncodeArgument(const std::string& type, const Json& value, const SessionObjects& session,
                    std::vector<MessageValue>& out, std::string& error);

// Reads one argument of a type code from values at position, the inverse of
// EncodeArgument; false when a value is missing or of another type.
bool DecodeArgument(const std::string& type, const std::vector<MessageValue>& values, std::size_t& position,
                    const SessionObjects& session, Json& out, JsonAllocator& allocator);

// How values read in order from position meet a type code: they fit (and
// position moves past them), one is of another type or missing, or a
// sequence's count is not an unsigned count that the values after it back.
enum class ValueFit { Fits, Mismatch, BadCount };
ValueFit FitValues(const std::string& type, const std::vector<MessageValue>& values, std::size_t& position);

// The type code that a message value carries ("R" for any handle).
std::string TypeCodeOf(const MessageValue& value);
// A message value in JSON by its own type: a handle is "session", null for
// the null handle, or the number of the object it names.
void ValueToJson(const MessageValue& value, const SessionObjects& session, Json& out, JsonAllocator& allocator);
// One value of {"type": CODE, "value": VALUE}, for messages written by hand;
// a handle may also be given as the number of an object, one of the
// session's own alone.
bool TypedValueFromJson(const Json& typed, const SessionObjects& session, MessageValue& out, std::string& error);

// Writes one value by its own type to a RapidJSON handler (a Writer, a
// Document, an EventTextWriter): a handle is "session", null for the null
// handle, or the number of the object it names.
template <typename Handler>
void WriteValue(const MessageValue& value, const SessionObjects& session, Handler& handler) {
    if (const auto* text = std::get_if<du::Symbol>(&value)) {
        if (text->IsNull())
            handler.Null();
        else
            handler.String(text->safe_c_str(), static_cast<rapidjson::SizeType>(text->length()), true);
    } else if (const auto* number = std::get_if<double>(&value)) {
        handler.Double(*number);
    } else if (const auto* integer = std::get_if<std::int32_t>(&value)) {
        handler.Int(*integer);
    } else if (const auto* unsignedInteger = std::get_if<std::uint32_t>(&value)) {
        handler.Uint(*unsignedInteger);
    } else if (const auto* flag = std::get_if<bool>(&value)) {
        handler.Bool(*flag);
    } else if (const auto* handle = std::get_if<HandleValue>(&value)) {
        if (handle->object == 0)
            handler.Null();
        else if (session.owns && session.owns(*handle))
            handler.String("session", 7, true);
        else
            handler.Uint64(static_cast<std::uint64_t>(handle->object));
    }
}

// Writes one argument of a type code, read from values at position, to a
// RapidJSON handler; false when a value is missing or of another type, or a
// sequence's count is more than the values after it.
template <typename Handler>
bool WriteArgument(const std::string& type, const std::vector<MessageValue>& values, std::size_t& position,
                   const SessionObjects& session, Handler& handler) {
    if (position >= values.size()) return false;
    const MessageValue& value = values[position];
    if (type.size() > 1 && type[0] == 'Q') {
        const std::uint32_t* count = std::get_if<std::uint32_t>(&value);
        // A count that the message cannot back is refused before anything is read.
        if (!count || *count > values.size() - position - 1) return false;
        ++position;
        handler.StartArray();
        const std::string element = type.substr(1);
        for (std::uint32_t i = 0; i < *count; ++i)
            if (!WriteArgument(element, values, position, session, handler)) return false;
        handler.EndArray(*count);
        return true;
    }
    if (TypeCodeOf(value) != (ReferencedInterface(type).empty() ? type : "R")) return false;
    WriteValue(value, session, handler);
    ++position;
    return true;
}

}  // namespace devhost::gateway
