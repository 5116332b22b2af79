#pragma once

#include <atomic>
#include <functional>
#include <string>

#include <httplib.h>

#include "devhost/client/ClientActor.h"
#include "devhost/gateway/SignatureCatalog.h"
#include "devhost/gateway/Sessions.h"
#include "devhost/gateway/WorkerPool.h"
#include "dom/ManagedObject.h"

namespace devhost::gateway {

// What the gateway's routes share: the served module's proxy and method
// tables, the client actor of the sessions' callback objects and the sessions.
struct GatewayContext {
    GatewayContext(SignatureCatalog catalog, SessionLimits limits, std::size_t maxBody)
        : catalog(std::move(catalog)), client("GatewayClient"), sessions(this->catalog, client, limits),
          maxBody(maxBody) {}

    const SignatureCatalog catalog;
    du::SmartPtr<dom::ManagedObject> module;  // proxy of the served interface; null when not found
    ClientActor client;
    SessionTable sessions;
    // The largest body a POST may send (RequestBody's PostJson).
    const std::size_t maxBody;
    // The connections' threads while serving, which event streams take
    // their own threads from; null otherwise.
    std::atomic<WorkerPool*> pool{nullptr};
    std::atomic<bool> stopping{false};
};

void AddApiRoutes(httplib::Server& server, GatewayContext& context);
void AddHostRoutes(httplib::Server& server, GatewayContext& context);
void AddHostEventRoutes(httplib::Server& server, GatewayContext& context);

}  // namespace devhost::gateway
