#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include <httplib.h>
#include <rapidjson/document.h>

namespace devhost::gateway {

// A POST route whose body is a JSON object (JsonReply's ParseObjectBody).
// The body is read here rather than by httplib, which takes a chunked body
// of any size: every byte, chunked or not, counts against the limit, and a
// larger body is refused with 413 as soon as it passes it.
using JsonRoute = std::function<void(const httplib::Request&, rapidjson::Document& body, httplib::Response&)>;
void PostJson(httplib::Server& server, const std::string& pattern, std::size_t limit, JsonRoute route);

}  // namespace devhost::gateway
