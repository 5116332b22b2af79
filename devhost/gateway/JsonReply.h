#pragma once

#include <string>

#include <httplib.h>
#include <rapidjson/document.h>

namespace devhost::gateway {

// Compact JSON text of a value.
std::string JsonText(const rapidjson::Value& value);

void ReplyJson(httplib::Response& response, int status, const rapidjson::Value& value);
// {"error": error, "message": message}
void ReplyError(httplib::Response& response, int status, const std::string& error, const std::string& message);

// Parses a request's body as a JSON object; on failure answers 400 with
// where it went wrong and gives false. An empty body is {}. Nesting past
// kMaxJsonDepth is refused before parsing (bad-json), and a string or name
// with a NUL or invalid UTF-8 after it (bad-values).
bool ParseObjectBody(const std::string& text, rapidjson::Document& body, httplib::Response& response);
bool ParseObjectBody(const httplib::Request& request, rapidjson::Document& body, httplib::Response& response);

// A whole number (an event's or a trace entry's number, a count) from a JSON
// number or a text of digits; false for anything else. Session ids are
// random texts and are not read with it.
bool ReadSessionId(const rapidjson::Value& value, unsigned long long& id);
bool ReadSessionId(const std::string& text, unsigned long long& id);

}  // namespace devhost::gateway
