#include "devhost/gateway/Gateway.h"

#include "devhost/gateway/GatewayContext.h"
#include "devhost/gateway/GeometryRoutes.h"
#include "devhost/gateway/JsonReply.h"
#include "devhost/gateway/RandomText.h"
#include "devhost/gateway/RequestGuard.h"
#include "devhost/gateway/WorldFolders.h"

#include <algorithm>
#include <mutex>
#include <thread>

#include <sys/socket.h>

namespace devhost::gateway {

namespace {

// Workers for requests; event streams take threads of their own besides.
constexpr std::size_t kWorkers = 64;

// Connections that may wait to be accepted while every worker is busy.
constexpr int kBacklog = 512;

// What every reply carries: no reply is cached or sniffed as another type,
// and the page takes scripts, data and connections from this host alone and
// may not be framed by another site (which could click for the person).
// Styles may be inline: the page's rows are placed by style attributes.
const httplib::Headers& ReplyHeaders() {
    static const httplib::Headers headers = {
        {"X-Content-Type-Options", "nosniff"},
        {"Cache-Control", "no-store"},
        {"X-Frame-Options", "DENY"},
        {"Referrer-Policy", "no-referrer"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; connect-src 'self'; img-src 'self' data: blob:; "
         "style-src 'self' 'unsafe-inline'; font-src 'self'; base-uri 'none'; form-action 'none'; "
         "frame-ancestors 'none'"},
    };
    return headers;
}

// httplib listens with the small backlog compiled into its library; Linux
// lets a listening socket's backlog be raised by listening on it again.
class Listener : public httplib::Server {
public:
    void WidenBacklog(int backlog) {
        if (svr_sock_ != INVALID_SOCKET) ::listen(svr_sock_, backlog);
    }
    void ServeOne(httplib::Stream& stream) {
        bool closed = false;
        process_request(stream, true, closed, [](httplib::Request&) {});
    }
};

// A connection in memory: reads the request given, keeps what is written.
class TextStream : public httplib::Stream {
public:
    explicit TextStream(const std::string& request) : request_(request) {}
    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* data, std::size_t size) override {
        const std::size_t length = std::min(size, request_.size() - at_);
        std::copy_n(request_.data() + at_, length, data);
        at_ += length;
        return static_cast<ssize_t>(length);
    }
    ssize_t write(const char* data, std::size_t size) override {
        written_.append(data, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        ip = "127.0.0.1";
        port = 0;
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        ip = "127.0.0.1";
        port = 0;
    }
    socket_t socket() const override { return INVALID_SOCKET; }
    const std::string& Written() const { return written_; }

private:
    const std::string& request_;
    std::size_t at_ = 0;
    std::string written_;
};

}  // namespace

struct Gateway::Impl {
    explicit Impl(const GatewayOptions& options)
        : context(SignatureCatalog::Read(options.servedInterface), options.sessions, options.maxBody),
          guard(options.token.empty() ? RandomHex(16) : options.token) {}

    GatewayContext context;
    RequestGuard guard;
    Listener server;
    // httplib's stop() does nothing until the listening loop has begun, so a
    // stop that comes first (a signal during start-up) is remembered here and
    // Serve never begins, or Stop waits for the loop to begin and ends it.
    std::mutex serveMutex;
    bool serving = false;
    bool served = false;
};

Gateway::Gateway(GatewayOptions options) : impl_(std::make_unique<Impl>(options)) {
    GatewayContext& context = impl_->context;
    if (!options.worldFolders.empty()) WorldFolders::Set(options.worldFolders);
    if (context.catalog.Find(options.servedInterface))
        dom::ManagedObject::FindActor(du::Symbol(options.actorName), du::Symbol(options.servedInterface),
                                      context.module);

    Listener& server = impl_->server;
    server.set_default_headers(ReplyHeaders());
    // Headers and body go out in separate writes; with Nagle's algorithm
    // the second waits for the peer's delayed acknowledgement, about 40 ms
    // on every keep-alive request.
    server.set_tcp_nodelay(true);
    // Sessions that sit unused end even while no request comes to end them.
    server.set_idle_interval(1);
    server.new_task_queue = [this, maxStreams = options.maxStreams] {
        auto* pool = new WorkerPool(kWorkers, maxStreams, [this] { impl_->context.sessions.EndIdleSessions(); });
        impl_->context.pool = pool;
        return pool;
    };
    server.set_payload_max_length(options.maxBody);
    server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        // The gateway serves loopback only, where compressing a reply costs
        // far more than sending it: httplib's brotli takes seconds over
        // three.js, its gzip a tenth of a second. A request is the server's
        // own object, handed here as const, so its wish is dropped in place.
        const_cast<httplib::Request&>(request).headers.erase("Accept-Encoding");
        return impl_->guard.Admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                                     : httplib::Server::HandlerResponse::Handled;
    });
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

const std::string& Gateway::Token() const { return impl_->guard.Token(); }

std::size_t Gateway::OpenSessions() const { return impl_->context.sessions.Count(); }

int Gateway::Port() const { return impl_->guard.Port(); }

int Gateway::Bind(int port) {
    Listener& server = impl_->server;
    int bound = -1;
    if (port == 0) {
        bound = server.bind_to_any_port("127.0.0.1");
    } else {
        for (int candidate = port; bound < 0 && candidate <= port + 10 && candidate < 65536; ++candidate)
            if (server.bind_to_port("127.0.0.1", candidate)) bound = candidate;
    }
    if (bound > 0) server.WidenBacklog(kBacklog);
    impl_->guard.SetPort(bound);
    return bound;
}

void Gateway::Serve() {
    {
        std::lock_guard<std::mutex> lock(impl_->serveMutex);
        if (impl_->context.stopping || impl_->serving) return;
        impl_->serving = true;
    }
    impl_->server.listen_after_bind();
    impl_->context.pool = nullptr;  // httplib has ended and deleted it
    std::lock_guard<std::mutex> lock(impl_->serveMutex);
    impl_->served = true;
}

std::string Gateway::ServeText(const std::string& request) {
    TextStream stream(request);
    impl_->server.ServeOne(stream);
    return stream.Written();
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
