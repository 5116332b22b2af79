#include "devhost/gateway/JsonReply.h"

#include "devhost/gateway/JsonChecks.h"

#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace devhost::gateway {

std::string JsonText(const rapidjson::Value& value) {
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    value.Accept(writer);
    return std::string(text.GetString(), text.GetSize());
}

void ReplyJson(httplib::Response& response, int status, const rapidjson::Value& value) {
    response.status = status;
    // With the charset named, httplib leaves the body uncompressed: on the
    // loopback the compression of a large state (brotli, when a browser
    // accepts it) costs far more than it saves.
    response.set_content(JsonText(value), "application/json; charset=utf-8");
}

// A message may quote what a client sent (a path, a section's name); a reply
// labelled UTF-8 carries only UTF-8, so a message that is not has its bytes
// past ASCII and its NULs replaced.
std::string CleanMessage(const std::string& message) {
    if (IsCleanUtf8(message.data(), message.size())) return message;
    std::string clean = message;
    for (char& c : clean)
        if (c == '\0' || static_cast<unsigned char>(c) >= 0x80) c = '?';
    return clean;
}

void ReplyError(httplib::Response& response, int status, const std::string& error, const std::string& message) {
    rapidjson::Document reply(rapidjson::kObjectType);
    auto& allocator = reply.GetAllocator();
    const std::string clean = CleanMessage(message);
    reply.AddMember("error", rapidjson::Value(error.c_str(), allocator), allocator);
    reply.AddMember("message", rapidjson::Value(clean.c_str(), static_cast<rapidjson::SizeType>(clean.size()), allocator),
                    allocator);
    ReplyJson(response, status, reply);
}

bool ParseObjectBody(const std::string& text, rapidjson::Document& body, httplib::Response& response) {
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        body.SetObject();
        return true;
    }
    const std::size_t deep = DeeperThan(text.data(), text.size(), kMaxJsonDepth);
    if (deep != std::string::npos) {
        ReplyError(response, 400, "bad-json",
                   "the body nests arrays and objects deeper than " + std::to_string(kMaxJsonDepth) +
                       " levels (at byte " + std::to_string(deep) + ")");
        return false;
    }
    body.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    if (body.HasParseError()) {
        ReplyError(response, 400, "bad-json",
                   std::string("the body is not JSON: ") + rapidjson::GetParseError_En(body.GetParseError()) +
                       " (at byte " + std::to_string(body.GetErrorOffset()) + ")");
        return false;
    }
    if (!body.IsObject()) {
        ReplyError(response, 400, "bad-request", "the body is to be a JSON object");
        return false;
    }
    std::string why;
    if (!AllStringsClean(body, why)) {
        ReplyError(response, 400, "bad-values", why);
        return false;
    }
    return true;
}

bool ParseObjectBody(const httplib::Request& request, rapidjson::Document& body, httplib::Response& response) {
    return ParseObjectBody(request.body, body, response);
}

bool ReadSessionId(const rapidjson::Value& value, unsigned long long& id) {
    if (value.IsUint64()) {
        id = value.GetUint64();
        return true;
    }
    return value.IsString() && ReadSessionId(std::string(value.GetString(), value.GetStringLength()), id);
}

bool ReadSessionId(const std::string& text, unsigned long long& id) {
    if (text.empty() || text.size() > 19 || text.find_first_not_of("0123456789") != std::string::npos) return false;
    id = std::stoull(text);
    return true;
}

}  // namespace devhost::gateway
