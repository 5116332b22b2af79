// The plug-in loaded, started, used and unloaded many times in one process,
// as a viewer that opens and closes the web view again and again: each
// cycle leaves no thread, no registered factory and no code that the host
// could still call into. Leaks are LeakSanitizer's to find, in the asan
// build.
#include <gtest/gtest.h>

#include "ProcessState.h"
#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"
#include "remote/WebApiModule.h"

namespace rtest {
namespace {

void Discard(const devhost::ReceivedCall&) {}

// The sanitizers' builds run many times slower, and LeakSanitizer finds a
// leak of every cycle in a few of them.
#if defined(__SANITIZE_THREAD__)
constexpr int kCycles = 50;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kCycles = 200;
#else
constexpr int kCycles = 1000;
#endif

class Lifecycle : public ::testing::Test {
protected:
    void SetUp() override { devhost::LoadDefaultSampleWorld(); }
    void TearDown() override {
        devhost::DrainHostWorker();
        devhost::DropWorld();
        devhost::DropApplication();
    }

    // One cycle, up to the plug-in's unloading; false when the library
    // could not leave the process.
    bool Cycle() {
        devhost::PluginLibrary plugin(WEBAPI_PLUGIN_PATH);
        du::SmartPtr<du::RefCounted> component;
        EXPECT_TRUE(plugin.Init() && plugin.CreateComponent("world", "web", "api", component)) << plugin.Error();
        if (!component) return false;
        du::SmartPtr<devhost::TreeObserverReceiver> observer(new devhost::TreeObserverReceiver(Discard));
        du::SmartPtr<devhost::ViewablesRequestReceiver> viewables(new devhost::ViewablesRequestReceiver(Discard));
        client.Adopt(observer);
        client.Adopt(viewables);
        {
            du::SmartPtr<dom::ManagedObject> proxy;
            const du::Symbol name = dynamic_cast<qxk::ActiveModule&>(*component).GetActorName();
            EXPECT_TRUE(dom::ManagedObject::FindActor(name, "webapi::WebApiModule", proxy));
            const auto module = du::DynamicCast<webapi::WebApiModule>(proxy);
            if (!module) return false;
            module->RegisterTreeObserver(observer);
            // Thumbnail fetches, proxy reads and progress go on after these
            // return: terminating must not wait for them nor leave them a
            // way back into the library.
            module->GetViewables(viewables, 1);
            module->LoadInstances("[\"drone/electronics/gps\"]");
            module->SetInstancesColor({"drone/frame/arm_1"}, false, "ff0000");
            module->GetCurrentSelection();
        }
        plugin.Terminate();
        component.reset();
        observer.reset();
        viewables.reset();
        return plugin.Unload();
    }

    devhost::ClientActor client{"LifecycleClient"};
};

TEST_F(Lifecycle, ManyCyclesLeaveNoThreadNoFactoryAndNoLoadedCode) {
    // The first cycle starts the host's own lasting threads.
    ASSERT_TRUE(Cycle());
    devhost::DrainHostWorker();
    client.Settle();
    const int threads = ThreadCount();
    for (int i = 1; i < kCycles; ++i) {
        ASSERT_TRUE(Cycle()) << "cycle " << i;
        // What the host finishes after the unload must reach nothing of
        // the library: a call into it would fault here.
        devhost::DrainHostWorker();
        client.Settle();
        ASSERT_EQ(ThreadCount(), threads) << "cycle " << i;
        ASSERT_FALSE(AnyModuleFactoryRegistered()) << "cycle " << i;
        devhost::TraceLog::Clear();
    }
}

}  // namespace
}  // namespace rtest
