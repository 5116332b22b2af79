#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>
#include <rapidjson/document.h>

#include <gtest/gtest.h>

#include "PluginClient.h"
#include "devhost/gateway/Gateway.h"
#include "devhost/samples/SampleWorlds.h"

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
    // The same for any event stream of the gateway, by its path; with last,
    // until an event that it holds has come.
    std::vector<std::string> ReadStream(const std::string& path, std::size_t count, std::string* end = nullptr,
                                        const std::string& last = "");

    int Port() const { return port_; }
    const std::string& Token() const { return gateway_->Token(); }
    std::size_t Sessions() const { return gateway_->OpenSessions(); }

private:
    std::unique_ptr<devhost::gateway::Gateway> gateway_;
    int port_ = -1;
    std::thread server_;
    httplib::Client client_;
};

// A suite served by the plug-in's module on the sample world, loaded once for
// the suite; Options() names the module's actor to a gateway.
class PluginGatewaySuite : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        devhost::LoadDefaultSampleWorld();
        plugin = std::make_unique<support::PluginClient>();
    }
    static void TearDownTestSuite() { plugin.reset(); }

    static devhost::gateway::GatewayOptions Options() {
        devhost::gateway::GatewayOptions options;
        options.actorName = plugin->ActorName().str();
        return options;
    }

    static inline std::unique_ptr<support::PluginClient> plugin;
};

}  // namespace gtest_gateway
