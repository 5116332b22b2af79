#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "PluginClient.h"

namespace support {

// The plug-in started with a web client whose callback objects record
// every call they receive, in one list.
class PluginSession {
public:
    ~PluginSession();

    // The client's proxy of the module; every call waits for its reply.
    webapi::WebApiModule& Module() { return client_.Module(); }
    const du::SmartPtr<devhost::ViewablesRequestReceiver>& Viewables() const { return client_.Viewables(); }

    // Registers the client's tree observer with the module and waits for
    // what the module sends it then.
    void RegisterTreeObserver();
    void SelectTreeNodes(const std::string& request);

    // Returns once the host worker, the module and the client are quiet.
    void Settle() { client_.Settle(); }
    // Every callback received so far, once quiet, as "Method" or
    // "Method argument|argument".
    std::vector<std::string> Received();
    // The arguments of the callbacks that had any, in order.
    std::vector<std::string> Documents();
    void ForgetReceived() { received_.Clear(); }

    // Ends the module and unloads its library while the world stays, as the
    // viewer does before it closes.
    void End();

private:
    CallRecorder received_{" "};
    PluginClient client_{received_.Sink(), received_.Sink()};
    bool ended_ = false;
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
