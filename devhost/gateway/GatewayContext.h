#pragma once

#include <atomic>
#include <functional>
#include <string>

#include <httplib.h>

#include "devhost/client/ClientActor.h"
#include "devhost/gateway/SignatureCatalog.h"
#include "devhost/gateway/Sessions.h"
#include "dom/ManagedObject.h"

namespace devhost::gateway {

// What the gateway's routes share: the served module's proxy and method
// tables, the client actor of the sessions' callback objects and the sessions.
struct GatewayContext {
    GatewayContext(SignatureCatalog catalog, std::size_t eventBound)
        : catalog(std::move(catalog)), client("GatewayClient"), sessions(this->catalog, client, eventBound) {}

    const SignatureCatalog catalog;
    du::SmartPtr<dom::ManagedObject> module;  // proxy of the served interface; null when not found
    ClientActor client;
    SessionTable sessions;
    std::atomic<bool> stopping{false};
};

void AddApiRoutes(httplib::Server& server, GatewayContext& context);
void AddHostRoutes(httplib::Server& server, GatewayContext& context);
void AddHostEventRoutes(httplib::Server& server, GatewayContext& context);

}  // namespace devhost::gateway
