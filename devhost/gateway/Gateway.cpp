#include "devhost/gateway/Gateway.h"

#include "devhost/gateway/GatewayContext.h"
#include "devhost/gateway/GeometryRoutes.h"
#include "devhost/gateway/JsonReply.h"

#include <mutex>
#include <thread>

namespace devhost::gateway {

namespace {

// Event streams hold a worker each for as long as they are open.
constexpr std::size_t kWorkers = 64;

}  // namespace

struct Gateway::Impl {
    explicit Impl(const GatewayOptions& options)
        : context(SignatureCatalog::Read(options.servedInterface), options.eventBound) {}

    GatewayContext context;
    httplib::Server server;
    // httplib's stop() does nothing until the listening loop has begun, so a
    // stop that comes first (a signal during start-up) is remembered here and
    // Serve never begins, or Stop waits for the loop to begin and ends it.
    std::mutex serveMutex;
    bool serving = false;
    bool served = false;
};

Gateway::Gateway(GatewayOptions options) : impl_(std::make_unique<Impl>(options)) {
    GatewayContext& context = impl_->context;
    if (context.catalog.Find(options.servedInterface))
        dom::ManagedObject::FindActor(du::Symbol(options.actorName), du::Symbol(options.servedInterface),
                                      context.module);

    httplib::Server& server = impl_->server;
    server.new_task_queue = [] { return new httplib::ThreadPool(kWorkers); };
    server.set_payload_max_length(options.maxBody);
    server.set_exception_handler([](const httplib::Request&, httplib::Response& response, std::exception_ptr failure) {
        std::string what = "unknown failure";
        try {
            if (failure) std::rethrow_exception(failure);
        } catch (const std::exception& caught) {
            what = caught.what();
        } catch (...) {
        }
        ReplyError(response, 500, "internal", what);
    });
    // A request that no route took, or that httplib refused (such as an
    // oversized body), still gets a JSON message.
    server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) return;
        const std::string what = response.status == 413 ? "the body is larger than the gateway takes"
                                 : response.status == 404 ? "no such endpoint: " + request.method + " " + request.path
                                                          : "the request was refused";
        ReplyError(response, response.status, "http-" + std::to_string(response.status), what);
    });
    AddApiRoutes(server, context);
    AddHostRoutes(server, context);
    AddHostEventRoutes(server, context);
    AddGeometryRoutes(server);
    if (!options.webRoot.empty()) server.set_mount_point("/", options.webRoot);
}

Gateway::~Gateway() {
    Stop();
}

bool Gateway::Ready(std::string* why) const {
    const GatewayContext& context = impl_->context;
    if (context.module) return true;
    if (why)
        *why = context.catalog.Find(context.catalog.Served())
                   ? "no actor serves \"" + context.catalog.Served() + "\""
                   : "no proxy factory of \"" + context.catalog.Served() + "\" is registered";
    return false;
}

int Gateway::Bind(int port) {
    httplib::Server& server = impl_->server;
    if (port == 0) return server.bind_to_any_port("127.0.0.1");
    for (int candidate = port; candidate <= port + 10 && candidate < 65536; ++candidate)
        if (server.bind_to_port("127.0.0.1", candidate)) return candidate;
    return -1;
}

void Gateway::Serve() {
    {
        std::lock_guard<std::mutex> lock(impl_->serveMutex);
        if (impl_->context.stopping || impl_->serving) return;
        impl_->serving = true;
    }
    impl_->server.listen_after_bind();
    std::lock_guard<std::mutex> lock(impl_->serveMutex);
    impl_->served = true;
}

void Gateway::Stop() {
    {
        std::lock_guard<std::mutex> lock(impl_->serveMutex);
        impl_->context.stopping = true;
        if (!impl_->serving) return;
    }
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(impl_->serveMutex);
            if (impl_->served) return;
        }
        if (impl_->server.is_running()) break;
        std::this_thread::yield();
    }
    impl_->server.stop();
}

}  // namespace devhost::gateway
