#pragma once

#include <functional>
#include <string>
#include <vector>

#include <rapidjson/document.h>

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

}  // namespace devhost::gateway
