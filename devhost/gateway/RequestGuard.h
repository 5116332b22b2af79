#pragma once

#include <atomic>
#include <string>

#include <httplib.h>

namespace devhost::gateway {

// Decides, before a route runs or a body is read, whether a request may
// reach the gateway at all: it must name this listener as its Host (a
// page of another site that rebinds a name to 127.0.0.1 cannot read the
// replies), come from the page's own origin when it names one (another
// site cannot drive the viewer through a person's browser), carry the
// token on the API and the host's control, and send JSON when it posts
// (a form or a "simple" text/plain request is never taken as a call).
class RequestGuard {
public:
    explicit RequestGuard(std::string token) : token_(std::move(token)) {}

    const std::string& Token() const { return token_; }
    void SetPort(int port) { port_ = port; }

    // True when the request may go on; otherwise the refusal is written.
    bool Admit(const httplib::Request& request, httplib::Response& response) const;

private:
    bool KnownHost(const std::string& host) const;
    bool OwnOrigin(const std::string& origin, const std::string& host) const;
    bool CarriesToken(const httplib::Request& request) const;

    const std::string token_;
    std::atomic<int> port_{0};
};

// True for the paths that need the token: the API and the host's control.
bool IsGuardedPath(const std::string& path);

}  // namespace devhost::gateway
