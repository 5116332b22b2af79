#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace support {

// The plug-in loaded from its shared library and started on the world of
// the process, as the viewer starts it, and a web client on an actor of its
// own that found the module by its actor name, with a tree observer and a
// viewables request whose calls go to the sinks given, if any. Throws when the
// plug-in does not start; it is terminated and unloaded at the end unless
// that was done before.
class PluginClient {
public:
    explicit PluginClient(devhost::CallbackSink treeSink = {}, devhost::CallbackSink viewablesSink = {});
    ~PluginClient();
    PluginClient(const PluginClient&) = delete;
    PluginClient& operator=(const PluginClient&) = delete;

    webapi::WebApiModule& Module() { return *module_; }
    // The same proxy, to send raw messages through.
    const du::SmartPtr<dom::ManagedObject>& ModuleObject() const { return moduleObject_; }
    const du::SmartPtr<devhost::TreeObserverReceiver>& Observer() const { return observer_; }
    const du::SmartPtr<devhost::ViewablesRequestReceiver>& Viewables() const { return viewables_; }
    devhost::ClientActor& Client() { return client_; }
    // The name under which the module's actor is found.
    const du::Symbol& ActorName() const { return actorName_; }

    // Returns once the host worker, the module and the client are quiet.
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
    devhost::ClientActor client_{"TestClient"};
    du::SmartPtr<devhost::TreeObserverReceiver> observer_;
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables_;
    du::SmartPtr<dom::ManagedObject> moduleObject_;
    du::SmartPtr<webapi::WebApiModule> module_;
    du::Symbol actorName_;
    bool terminated_ = false;
};

// What callback objects received, in order, as the method followed by its
// arguments: "Method|argument|..." by default, or with another text between
// the method and the first argument.
class CallRecorder {
public:
    explicit CallRecorder(std::string afterMethod = "|") : afterMethod_(std::move(afterMethod)) {}
    devhost::CallbackSink Sink();
    std::vector<std::string> Calls();
    void Clear();

private:
    const std::string afterMethod_;
    std::mutex lock_;
    std::vector<std::string> calls_;
};

}  // namespace support
