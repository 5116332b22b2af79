#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace ttest {

// A web client's session with the plug-in, loaded as the viewer loads it,
// on the world of the text given: the client's observer lives on an actor
// of its own and records every callback it receives, as "Method" or
// "Method document".
class TreeSession {
public:
    explicit TreeSession(const std::string& worldText);
    // Terminates and unloads the plug-in unless the test did, then drops the world.
    ~TreeSession();

    // Waits until the host worker, the module and the client are quiet.
    void Settle();
    std::vector<std::string> Calls();
    // The documents received, in order.
    std::vector<std::string> Documents();
    void Clear();

    void Register();
    void Select(const std::string& request);
    // Ends the module as the viewer does on shutdown, and unloads the library.
    void Terminate();

    du::SmartPtr<webapi::WebApiModule> module;
    du::SmartPtr<devhost::TreeObserverReceiver> observer;

private:
    std::mutex mutex_;
    std::vector<std::string> calls_;
    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
    std::unique_ptr<devhost::ClientActor> client_;
    bool terminated_ = false;
};

}  // namespace ttest
