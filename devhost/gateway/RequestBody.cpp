#include "devhost/gateway/RequestBody.h"

#include "devhost/gateway/JsonReply.h"

namespace devhost::gateway {

namespace {

unsigned long long AnnouncedLength(const httplib::Request& request) {
    const std::string length = request.get_header_value("Content-Length");
    if (length.empty() || length.find_first_not_of("0123456789") != std::string::npos || length.size() > 19) return 0;
    return std::stoull(length);
}

}  // namespace

void PostJson(httplib::Server& server, const std::string& pattern, std::size_t limit, JsonRoute route) {
    server.Post(pattern, [limit, route = std::move(route)](const httplib::Request& request, httplib::Response& response,
                                                           const httplib::ContentReader& reader) {
        std::string text;
        bool tooLarge = false;
        // A POST without a length or chunks has no body, which counts as {}.
        const bool hasBody = request.has_header("Content-Length") ||
                             request.get_header_value("Transfer-Encoding").find("chunked") != std::string::npos;
        const bool read = !hasBody || reader([&](const char* data, std::size_t length) {
            if (length > limit - text.size()) {
                tooLarge = true;
                return false;
            }
            text.append(data, length);
            return true;
        });
        // httplib stops reading, too, a body whose announced length passes the limit.
        if (tooLarge || (!read && AnnouncedLength(request) > limit)) {
            ReplyError(response, 413, "http-413",
                       "the body is larger than the gateway takes (" + std::to_string(limit) + " bytes)");
            // The rest of the body is never read: the connection cannot go on.
            response.set_header("Connection", "close");
            return;
        }
        if (!read) {
            ReplyError(response, 400, "bad-request", "the body could not be read");
            response.set_header("Connection", "close");
            return;
        }
        rapidjson::Document body;
        if (ParseObjectBody(text, body, response)) route(request, body, response);
    });
}

}  // namespace devhost::gateway
