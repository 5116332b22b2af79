#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace support {

// The plug-in loaded from its shared library the way the viewer loads it and
// started on the world of the process, and a web client on an actor of its
// own that finds the module by its actor name and calls it through the
// messaging layer. The client's callback objects record every call they
// receive. The plug-in is terminated and unloaded at the end.
class PluginSession {
public:
    PluginSession();
    ~PluginSession();
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;

    // The client's proxy of the module; every call waits for its reply.
    webapi::WebApiModule& Module() { return *module_; }
    const du::SmartPtr<devhost::ViewablesRequestReceiver>& Viewables() const { return viewables_; }

    // Registers the client's tree observer with the module and waits for
    // what the module sends it then.
    void RegisterTreeObserver();
    void SelectTreeNodes(const std::string& request);

    // Returns once the host worker, the module and the client are quiet.
    void Settle();
    // Every callback received so far, once quiet, as "Method" or
    // "Method argument|argument".
    std::vector<std::string> Received();
    // The arguments of the callbacks that had any, in order.
    std::vector<std::string> Documents();
    void ForgetReceived();

    // Ends the module and unloads its library while the world stays, as the
    // viewer does before it closes.
    void End();

private:
    void Record(const devhost::ReceivedCall& call);

    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
    devhost::ClientActor client_{"TestClient"};
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables_;
    du::SmartPtr<devhost::TreeObserverReceiver> treeObserver_;
    du::SmartPtr<webapi::WebApiModule> module_;
    std::mutex lock_;
    std::vector<std::string> received_;
};

// A test on a clean process with the plug-in started in it.
class PluginTest : public ::testing::Test {
protected:
    // Loads the world text given ("" for the sample world) and starts the
    // plug-in on it.
    void Start(const std::string& worldText) {
        LoadWorld(worldText);
        Start();
    }
    // Starts the plug-in on the world already loaded.
    void Start() { session = std::make_unique<PluginSession>(); }

    CleanProcess clean;
    std::unique_ptr<PluginSession> session;
};

// The plug-in started on the sample world before each test.
class SampleWorldTest : public PluginTest {
protected:
    void SetUp() override { Start(""); }
};

}  // namespace support
