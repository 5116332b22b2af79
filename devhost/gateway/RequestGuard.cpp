#include "devhost/gateway/RequestGuard.h"

#include <algorithm>
#include <cctype>

#include "devhost/gateway/JsonReply.h"

namespace devhost::gateway {

namespace {

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// Compares in time that depends on the lengths alone, so that the token
// cannot be found a character at a time by timing refusals.
bool SameSecret(const std::string& given, const std::string& secret) {
    unsigned char differ = given.size() == secret.size() ? 0 : 1;
    for (std::size_t i = 0; i < given.size(); ++i)
        differ |= static_cast<unsigned char>(given[i] ^ secret[i % std::max<std::size_t>(secret.size(), 1)]);
    return differ == 0 && !secret.empty();
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The media type of a Content-Type, without its parameters or blanks.
std::string MediaType(const std::string& contentType) {
    std::string type = Lower(contentType.substr(0, contentType.find(';')));
    type.erase(std::remove_if(type.begin(), type.end(), [](unsigned char c) { return std::isspace(c); }), type.end());
    return type;
}

// Refusals are answered at once, often before the body has been read; the
// connection then closes so that an unread body is never taken for the
// next request.
bool Refuse(httplib::Response& response, int status, const char* error, const std::string& message) {
    ReplyError(response, status, error, message);
    response.set_header("Connection", "close");
    return false;
}

}  // namespace

bool IsGuardedPath(const std::string& path) { return StartsWith(path, "/api/") || StartsWith(path, "/host/"); }

bool RequestGuard::KnownHost(const std::string& host) const {
    const std::string port = ":" + std::to_string(port_.load());
    for (const char* name : {"127.0.0.1", "localhost", "[::1]"})
        if (Lower(host) == name + port) return true;
    return false;
}

bool RequestGuard::OwnOrigin(const std::string& origin, const std::string& host) const {
    return Lower(origin) == "http://" + Lower(host);
}

bool RequestGuard::CarriesToken(const httplib::Request& request) const {
    const std::string authorization = request.get_header_value("Authorization");
    if (StartsWith(authorization, "Bearer ")) return SameSecret(authorization.substr(7), token_);
    return request.has_param("token") && SameSecret(request.get_param_value("token"), token_);
}

bool RequestGuard::Admit(const httplib::Request& request, httplib::Response& response) const {
    if (request.get_header_value_count("Host") != 1 || !KnownHost(request.get_header_value("Host")))
        return Refuse(response, 403, "forbidden-host",
                      "the Host is to be 127.0.0.1, localhost or [::1] with this gateway's port");
    const std::string host = request.get_header_value("Host");
    if (request.has_header("Origin") &&
        (request.get_header_value_count("Origin") != 1 || !OwnOrigin(request.get_header_value("Origin"), host)))
        return Refuse(response, 403, "forbidden-origin", "requests are taken only from the page this gateway serves");
    // A decoded NUL would cut the name of a file served ("/index.html%00.js").
    if (std::any_of(request.path.begin(), request.path.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }))
        return Refuse(response, 400, "bad-path", "the path holds a control character");
    if (!IsGuardedPath(request.path)) return true;
    if (!CarriesToken(request))
        return Refuse(response, 401, "unauthorized",
                      "the token is to be sent as \"Authorization: Bearer TOKEN\" or as ?token=TOKEN");
    if (request.method == "POST" && MediaType(request.get_header_value("Content-Type")) != "application/json")
        return Refuse(response, 415, "unsupported-media-type", "a POST's Content-Type is to be application/json");
    return true;
}

}  // namespace devhost::gateway
