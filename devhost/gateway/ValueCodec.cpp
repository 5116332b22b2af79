#include "devhost/gateway/ValueCodec.h"

#include <cstdint>
#include <limits>

#include "devhost/gateway/SignatureCatalog.h"
#include "devhost/platform/RawMessages.h"

namespace devhost::gateway {

namespace {

bool EncodeHandle(const std::string& interfaceName, const Json& value, const SessionObjects& session,
                  MessageValue& out, std::string& error) {
    if (value.IsNull()) {
        out = HandleValue{};
        return true;
    }
    if (value.IsString() && std::string(value.GetString()) == "session") {
        du::SmartPtr<dom::ManagedObject> object = session.objectFor ? session.objectFor(interfaceName) : nullptr;
        if (!object) {
            error = "no session object of \"" + interfaceName + "\" (is \"session\" given?)";
            return false;
        }
        out = MakeHandle(object, 0);
        return true;
    }
    error = "a reference is \"session\" or null";
    return false;
}

}  // namespace

bool EncodeArgument(const std::string& type, const Json& value, const SessionObjects& session,
                    std::vector<MessageValue>& out, std::string& error) {
    if (type == "S") {
        if (value.IsNull()) {
            out.emplace_back(du::Symbol());
        } else if (value.IsString()) {
            out.emplace_back(du::Symbol(value.GetString(), value.GetStringLength()));
        } else {
            error = "a string or null is wanted";
            return false;
        }
        return true;
    }
    if (type == "d") {
        if (!value.IsNumber()) {
            error = "a number is wanted";
            return false;
        }
        out.emplace_back(value.GetDouble());
        return true;
    }
    if (type == "l") {
        if (!value.IsInt()) {
            error = "a signed 32-bit integer is wanted";
            return false;
        }
        out.emplace_back(static_cast<std::int32_t>(value.GetInt()));
        return true;
    }
    if (type == "ul") {
        if (!value.IsUint()) {
            error = "an unsigned 32-bit integer is wanted";
            return false;
        }
        out.emplace_back(static_cast<std::uint32_t>(value.GetUint()));
        return true;
    }
    if (type == "b") {
        if (!value.IsBool()) {
            error = "a boolean is wanted";
            return false;
        }
        out.emplace_back(value.GetBool());
        return true;
    }
    if (type.size() > 1 && type[0] == 'Q') {
        if (!value.IsArray()) {
            error = "an array is wanted";
            return false;
        }
        out.emplace_back(static_cast<std::uint32_t>(value.Size()));
        for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
            if (!EncodeArgument(type.substr(1), value[i], session, out, error)) {
                error = "element " + std::to_string(i) + ": " + error;
                return false;
            }
        }
        return true;
    }
    if (std::string interfaceName = ReferencedInterface(type); !interfaceName.empty()) {
        MessageValue handle;
        if (!EncodeHandle(interfaceName, value, session, handle, error)) return false;
        out.push_back(handle);
        return true;
    }
    error = "unknown type code \"" + type + "\"";
    return false;
}

bool DecodeArgument(const std::string& type, const std::vector<MessageValue>& values, std::size_t& position,
                    const SessionObjects& session, Json& out, JsonAllocator& allocator) {
    rapidjson::Document document(&allocator);
    bool fits = false;
    auto write = [&](rapidjson::Document& handler) {
        return fits = WriteArgument(type, values, position, session, handler);
    };
    document.Populate(write);
    if (fits) out = static_cast<Json&>(document);
    return fits;
}

ValueFit FitValues(const std::string& type, const std::vector<MessageValue>& values, std::size_t& position) {
    if (position >= values.size()) return ValueFit::Mismatch;
    const MessageValue& value = values[position];
    if (type.size() > 1 && type[0] == 'Q') {
        const std::uint32_t* count = std::get_if<std::uint32_t>(&value);
        if (!count || *count > values.size() - position - 1) return ValueFit::BadCount;
        ++position;
        for (std::uint32_t i = 0; i < *count; ++i)
            if (const ValueFit fit = FitValues(type.substr(1), values, position); fit != ValueFit::Fits) return fit;
        return ValueFit::Fits;
    }
    const std::string expected = ReferencedInterface(type).empty() ? type : "R";
    if (TypeCodeOf(value) != expected) return ValueFit::Mismatch;
    ++position;
    return ValueFit::Fits;
}

std::string TypeCodeOf(const MessageValue& value) {
    static const char* const kCodes[] = {"S", "d", "l", "ul", "b", "R"};
    return kCodes[value.index()];
}

void ValueToJson(const MessageValue& value, const SessionObjects& session, Json& out, JsonAllocator& allocator) {
    rapidjson::Document document(&allocator);
    auto write = [&](rapidjson::Document& handler) {
        WriteValue(value, session, handler);
        return true;
    };
    document.Populate(write);
    out = static_cast<Json&>(document);
}

bool TypedValueFromJson(const Json& typed, const SessionObjects& session, MessageValue& out, std::string& error) {
    if (!typed.IsObject() || !typed.HasMember("type") || !typed["type"].IsString() || !typed.HasMember("value")) {
        error = "a value is {\"type\": CODE, \"value\": VALUE}";
        return false;
    }
    const std::string type = typed["type"].GetString();
    const Json& value = typed["value"];
    if (!type.empty() && type[0] == 'R') {
        if (value.IsUint64()) {
            // Another session's objects are not this client's to name.
            const HandleValue handle{value.GetUint64(), 0, 0};
            if (!session.owns || !session.owns(handle)) {
                error = "object " + std::to_string(value.GetUint64()) + " is not one of the session's own";
                return false;
            }
            out = handle;
            return true;
        }
        return EncodeHandle(type.substr(1), value, session, out, error);
    }
    if (type.size() > 1 && type[0] == 'Q') {
        error = "a sequence is written as its count (\"ul\") and its elements";
        return false;
    }
    std::vector<MessageValue> values;
    if (!EncodeArgument(type, value, session, values, error)) return false;
    out = values.front();
    return true;
}

}  // namespace devhost::gateway
