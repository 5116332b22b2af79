#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>
#include <rapidjson/document.h>

#include "devhost/gateway/Gateway.h"

namespace gtest_gateway {

// A text as a JSON string (for ids and names without escapes).
inline std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// A gateway serving on a free port of 127.0.0.1, on a thread of its own,
// and a client of it.
class RunningGateway {
public:
    explicit RunningGateway(devhost::gateway::GatewayOptions options);
    ~RunningGateway();

    struct Reply {
        int status = 0;
        rapidjson::Document body;
        std::string text;
    };
    Reply Get(const std::string& path);
    Reply Post(const std::string& path, const std::string& json);
    Reply Delete(const std::string& path);

    // Opens a session and gives its id.
    std::string OpenSession();
    // Reads the session's event stream (resumed after the event numbered
    // since, when given) until count data events (or an end event) have
    // come, then closes the stream. Each data event's text.
    std::vector<std::string> ReadEvents(const std::string& session, std::size_t count, std::string* end = nullptr,
                                        const std::string& since = "");

    int Port() const { return port_; }
    const std::string& Token() const { return gateway_->Token(); }
    std::size_t Sessions() const { return gateway_->OpenSessions(); }

private:
    std::unique_ptr<devhost::gateway::Gateway> gateway_;
    int port_ = -1;
    std::thread server_;
    httplib::Client client_;
};

}  // namespace gtest_gateway
