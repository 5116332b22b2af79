#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace cmdtest {

// The plug-in loaded from its shared library the way the viewer loads it and
// started on the world of the process, and a web client that finds the
// module by its actor name and calls it through the messaging layer. Load
// the world first; the plug-in is terminated and unloaded at the end.
class PluginSession {
public:
    PluginSession();
    ~PluginSession();
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;

    // The client's proxy of the module.
    webapi::WebApiModule& Module() { return *module_; }
    // The client's callback object for viewables requests.
    const du::SmartPtr<devhost::ViewablesRequestReceiver>& Viewables() const { return viewables_; }
    // Returns once the host worker, the module and the client are quiet.
    void Settle();
    // Every callback the client received so far, as "Method(argument|argument)".
    std::vector<std::string> Received();

private:
    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
    devhost::ClientActor client_{"CommandTestClient"};
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables_;
    du::SmartPtr<webapi::WebApiModule> module_;
    std::mutex lock_;
    std::vector<std::string> received_;
};

// The entries of the module's own trace channel ("web", "api") since the
// trace was last cleared, as "type|text"; the actor's shutdown line is left
// out.
std::vector<std::string> CommandTraces();

// A world with its content, read from a file of its own in a fresh folder.
class WorldFile {
public:
    explicit WorldFile(const std::string& text);
    ~WorldFile();
    const std::string& Folder() const;

private:
    struct Files;
    Files* files_;
};

// Makes the world of the process and the application go, and disarms
// faults, before and after each test.
struct CleanProcess {
    CleanProcess();
    ~CleanProcess();
};

}  // namespace cmdtest
