// Request bodies for the gateway in front of the module: the first byte
// picks /api/call, /api/raw or /host/control, the rest is the body, sent
// with the token as a page would send it (a chunked body when the byte's
// bit 2 is set). Every input must be answered with a status and a JSON
// reply, never crash or exhaust the process, and the module must serve on.
// Controls that end the module's actor on purpose or build worlds of
// millions of instances (armFault, loadWorld) are left out.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <rapidjson/document.h>

#include "FuzzHost.h"
#include "devhost/gateway/Gateway.h"

namespace {

constexpr const char* kToken = "fuzz-token";

devhost::gateway::Gateway& TheGateway() {
    static std::unique_ptr<devhost::gateway::Gateway> gateway = [] {
        devhost::gateway::GatewayOptions options;
        options.actorName = fuzz::FuzzHost::Get().ActorName();
        options.token = kToken;
        auto made = std::make_unique<devhost::gateway::Gateway>(options);
        if (!made->Ready() || made->Bind(0) < 0) fuzz::FuzzHost::Finding("the gateway did not start");
        return made;
    }();
    return *gateway;
}

bool LeftOut(const std::string& body) {
    rapidjson::Document parsed;
    parsed.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseStopWhenDoneFlag>(body.data(), body.size());
    if (parsed.HasParseError() || !parsed.IsObject()) return false;
    auto action = parsed.FindMember("action");
    if (action == parsed.MemberEnd() || !action->value.IsString()) return false;
    const std::string name = action->value.GetString();
    return name == "armFault" || name == "loadWorld" || name == "useWorldWithoutTree";
}

std::string Chunked(const std::string& body) {
    static const char kDigits[] = "0123456789abcdef";
    std::string chunks;
    for (std::size_t at = 0; at < body.size(); at += 7) {
        const std::size_t length = std::min<std::size_t>(7, body.size() - at);
        chunks += kDigits[length];
        chunks += "\r\n" + body.substr(at, length) + "\r\n";
    }
    return chunks + "0\r\n\r\n";
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    TheGateway();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    static const char* const kPaths[] = {"/api/call", "/api/raw", "/host/control"};
    const char* path = kPaths[data[0] % 3];
    const bool chunked = (data[0] & 4) != 0;
    const std::string body(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (path == kPaths[2] && LeftOut(body)) return 0;

    devhost::gateway::Gateway& gateway = TheGateway();
    std::string request = std::string("POST ") + path + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                          std::to_string(gateway.Port()) + "\r\nAuthorization: Bearer " + kToken +
                          "\r\nContent-Type: application/json\r\n";
    request += chunked ? "Transfer-Encoding: chunked\r\n\r\n" + Chunked(body)
                       : "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    const std::string reply = gateway.ServeText(request);
    if (reply.rfind("HTTP/1.1 ", 0) != 0) fuzz::FuzzHost::Finding("no status line: " + reply.substr(0, 200));
    const std::size_t start = reply.find("\r\n\r\n");
    if (start == std::string::npos || reply.compare(start + 4, 1, "{") != 0)
        fuzz::FuzzHost::Finding("the reply is not JSON: " + reply.substr(0, 400));
    fuzz::FuzzHost::Get().SettleAndCheck();
    return 0;
}
