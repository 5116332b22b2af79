#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace bench {

// The plug-in loaded from its shared library and started on the world of
// the process, and a web client that reaches the module through the
// messaging layer, as the viewer and a web page do. Its tree observer only
// counts what it receives, so the client costs as little as a client can.
// Build the world first; the plug-in is terminated and unloaded at the end.
class PluginClient {
public:
    PluginClient();
    ~PluginClient();
    PluginClient(const PluginClient&) = delete;
    PluginClient& operator=(const PluginClient&) = delete;

    // The client's proxy of the module.
    webapi::WebApiModule& Module() { return *module_; }
    const du::SmartPtr<devhost::TreeObserverReceiver>& Observer() const { return observer_; }
    // Callbacks the observer has received so far, and their payload bytes.
    std::size_t Received() const { return received_.load(); }
    std::size_t ReceivedBytes() const { return receivedBytes_.load(); }
    // Returns once the host worker, the module and the client are quiet.
    void Settle();

private:
    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
    std::atomic<std::size_t> received_{0};
    std::atomic<std::size_t> receivedBytes_{0};
    devhost::ClientActor client_{"BenchClient"};
    du::SmartPtr<devhost::TreeObserverReceiver> observer_;
    du::SmartPtr<webapi::WebApiModule> module_;
};

// The value below which the given share (0..1) of the samples fall; sorts them.
double Percentile(std::vector<double>& samples, double share);

// The resident set of the process, in bytes.
std::size_t ResidentBytes();

// Drops the world and the application of the process, and the trace so far.
void DropWorld();

}  // namespace bench
