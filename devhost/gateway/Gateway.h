#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "devhost/gateway/Sessions.h"

namespace devhost::gateway {

struct GatewayOptions {
    // The actor that serves the interface, as the plug-in's component names it.
    std::string actorName;
    std::string servedInterface = "webapi::WebApiModule";
    // The folder of the web page served at "/"; "" serves none.
    std::string webRoot;
    // What a session may hold and how long it may sit unused.
    SessionLimits sessions;
    // Event streams open at once; the next is refused with 503.
    std::size_t maxStreams = 512;
    // Largest request body taken, in bytes.
    std::size_t maxBody = 16u << 20;
    // The folders whose world files the control may load; none keeps the
    // samples folder.
    std::vector<std::string> worldFolders;
    // The secret every API and control request carries; "" draws a random
    // one of 128 bits.
    std::string token;
};

// Serves a plug-in's remote interface to HTTP clients on 127.0.0.1, built
// from the registered proxy factories' signature tables alone: every
// method of the served interface can be called, and every callback
// interface its signatures reference is implemented for each session.
// GATEWAY.md beside this file documents the endpoints.
class Gateway {
public:
    explicit Gateway(GatewayOptions options);
    ~Gateway();
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    // False, with the reason, when the served interface has no factory or no
    // actor of that name serves it.
    bool Ready(std::string* why = nullptr) const;
    // The token requests are to carry.
    const std::string& Token() const;
    // The sessions open now.
    std::size_t OpenSessions() const;

    // Binds to port on 127.0.0.1, or to the next free port of the ten after
    // it; 0 takes any free port. Gives the port bound, or -1.
    int Bind(int port);
    // The port bound, or -1.
    int Port() const;
    // Serves until Stop; the bound port is needed first. Returns at once
    // once Stop has been called, even before Serve.
    void Serve();
    // Thread-safe, at any time; Serve returns, open event streams end.
    void Stop();

    // Serves one request read from memory, as a connection that closes after
    // it would be served (the checks, the routes and the reading of the
    // body alike), and gives what was written back. For fuzzing the request
    // decoding at the speed of a function call; the bound port counts as
    // the Host's.
    std::string ServeText(const std::string& request);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace devhost::gateway
