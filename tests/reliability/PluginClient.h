#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace rtest {

// What one callback object received, in order, as "Method|argument|...".
class CallRecorder {
public:
    devhost::CallbackSink Sink();
    std::vector<std::string> Calls();

private:
    std::mutex lock_;
    std::vector<std::string> calls_;
};

// The plug-in loaded from its shared library and started on the world of
// the process, as the viewer starts it, and a web client of its own actor
// that found the module by its actor name, with a tree observer and a
// viewables request. Started() tells whether all of that went; the plug-in
// is terminated and unloaded at the end unless that was done before.
class PluginClient {
public:
    PluginClient();
    ~PluginClient();
    PluginClient(const PluginClient&) = delete;
    PluginClient& operator=(const PluginClient&) = delete;

    bool Started() const { return module_ != nullptr; }
    webapi::WebApiModule& Module() { return *module_; }
    // The same proxy, to send raw messages through.
    const du::SmartPtr<dom::ManagedObject>& ModuleObject() const { return moduleObject_; }
    const du::SmartPtr<devhost::TreeObserverReceiver>& Observer() const { return observer_; }
    const du::SmartPtr<devhost::ViewablesRequestReceiver>& Viewables() const { return viewables_; }
    devhost::ClientActor& Client() { return client_; }
    CallRecorder& TreeCalls() { return treeCalls_; }
    CallRecorder& ViewableCalls() { return viewableCalls_; }

    // Returns once the host worker, the module and this client are quiet.
    void Settle();
    // True when the module still answers a request.
    bool Serves();
    // QXDllTerminate; the proxy of the module is let go first.
    void Terminate();
    // Terminates if not done, and closes the library; true when it left
    // the process.
    bool Unload();

private:
    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
    devhost::ClientActor client_{"ReliabilityClient"};
    CallRecorder treeCalls_, viewableCalls_;
    du::SmartPtr<devhost::TreeObserverReceiver> observer_;
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables_;
    du::SmartPtr<dom::ManagedObject> moduleObject_;
    du::SmartPtr<webapi::WebApiModule> module_;
    bool terminated_ = false;
};

// Makes the world of the process the sample world, and drops it and the
// application, with every fault disarmed, at the end.
struct SampleWorldProcess {
    SampleWorldProcess();
    ~SampleWorldProcess();
};

}  // namespace rtest
