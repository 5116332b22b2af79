// The plug-in loaded, started, used and unloaded many times in one process,
// as a viewer that opens and closes the web view again and again, each time
// on a freshly opened world. The host's work for the module is still in
// flight when it is terminated and unloaded: thumbnail fetches stalled,
// proxy reads and the viewer's fly-to progress held. That work is let go
// only after the library has left the process, and must then reach nothing
// of it. Each cycle leaves no thread, no registered factory and no code
// that the host could still call into. Leaks are LeakSanitizer's to find,
// in the asan build.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "ProcessState.h"
#include "devhost/content/Loader.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Expansion.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/InstanceNode.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"

namespace rtest {
namespace {

// The sanitizers' builds run many times slower, and LeakSanitizer finds a
// leak of every cycle in a few of them.
#if defined(__SANITIZE_THREAD__)
constexpr int kCycles = 50;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kCycles = 200;
#else
constexpr int kCycles = 1000;
#endif

const char* const kThumbnails[] = {"thumbnails/exploded.png",   "thumbnails/battery_swap.png",
                                   "thumbnails/prop_change.png", "thumbnails/wiring.png",
                                   "thumbnails/gimbal.png",      "thumbnails/controller.png"};

// Opens the sample world afresh with all of the host's slow work held:
// every thumbnail fetch stalls, every proxy read waits, and the main view's
// viewer keeps its progress events running until told.
void OpenWorldWithWorkHeld() {
    devhost::LoadDefaultSampleWorld();
    const du::SmartPtr<devhost::Loader> loader = devhost::CurrentContent()->OwnLoader();
    for (const char* source : kThumbnails) loader->SetFetchRule(du::Symbol(source), {devhost::FetchMode::Held, {}});
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        for (const char* proxy : {"drone/electronics/gps", "drone/camera_gimbal"})
            devhost::FindInstanceAt(proxy)->Proxy()->completion = devhost::ProxyCompletion::Manual;
    }
    devhost::SetViewerProgress(*devhost::FindViewNamed("Main"), devhost::ViewerProgress::Manual);
}

// Lets the held work go on: the fetches deliver, the reads expand, the
// progress runs to its end. Gives how many pieces of work there were.
int ReleaseHeldWork() {
    const du::SmartPtr<devhost::Loader> loader = devhost::CurrentContent()->OwnLoader();
    int released = 0;
    for (const devhost::FetchRecord& fetch : loader->Fetches()) released += loader->ReleaseFetch(fetch.number);
    released += devhost::ReleasePendingExpansions();
    released += devhost::ReportViewerProgress(*devhost::FindViewNamed("Main"), 100, true);
    devhost::Settle({});
    return released;
}

// Entries written by the module's own tracers since seq.
std::vector<std::string> ModuleTracesSince(unsigned long long seq) {
    std::vector<std::string> texts;
    for (const devhost::NumberedTraceEntry& numbered : devhost::TraceLog::EntriesSince(seq, 1000)) {
        const devhost::TraceEntry& entry = numbered.entry;
        if (entry.module == "web" || entry.module == "webapi") texts.push_back(entry.name + ": " + entry.text);
    }
    return texts;
}

// One cycle, up to the release of the held work after the unload; fails
// the test when the plug-in did not start, left work nowhere in flight or
// could not leave the process, or when the released work reached the
// module.
void Cycle(int cycle) {
    OpenWorldWithWorkHeld();
    support::PluginClient plugin;
    webapi::WebApiModule& module = plugin.Module();
    module.RegisterTreeObserver(plugin.Observer());
    module.GetViewables(plugin.Viewables(), 1);
    module.SelectTreeNodes("{\"unloadedPrimaryNode\":\"drone/electronics/gps/antenna\"}");
    module.LoadInstances("[\"drone/camera_gimbal\"]");
    module.SetInstancesColor({"drone/frame/arm_1"}, false, "ff0000");
    module.ZoomToAll(1);
    module.GetCurrentSelection();
    plugin.Settle();
    ASSERT_FALSE(devhost::PendingExpansions().empty()) << "cycle " << cycle;
    ASSERT_FALSE(devhost::CurrentContent()->OwnLoader()->Fetches().empty()) << "cycle " << cycle;

    ASSERT_TRUE(plugin.Unload()) << "cycle " << cycle;
    const unsigned long long unloaded = devhost::TraceLog::LastSequence();
    EXPECT_GT(ReleaseHeldWork(), 0) << "cycle " << cycle;
    EXPECT_EQ(ModuleTracesSince(unloaded), std::vector<std::string>{}) << "cycle " << cycle;
    plugin.Client().Settle();
}

TEST(Lifecycle, ManyCyclesWithHostWorkInFlightLeaveNoThreadNoFactoryAndNoLoadedCode) {
    support::CleanProcess clean;
    // The first cycle starts the host's own lasting threads.
    Cycle(0);
    if (HasFatalFailure()) return;
    const int threads = support::ThreadCount();
    for (int i = 1; i < kCycles; ++i) {
        Cycle(i);
        if (HasFatalFailure()) return;
        ASSERT_EQ(support::ThreadCountOnceAt(threads), threads) << "cycle " << i;
        ASSERT_FALSE(support::AnyModuleFactoryRegistered()) << "cycle " << i;
        devhost::TraceLog::Clear();
    }
}

// True while the plug-in's library is in the process.
bool LibraryLoaded() {
    void* handle = dlopen(WEBAPI_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle != nullptr;
}

// A job of the host worker that holds an object of the library (here the
// client's proxy of the module, as a completing fetch holds the module's
// event) when the library is to be unloaded: the unload waits for the job,
// so the object goes while its code is still there.
TEST(Lifecycle, TheHostWorkersJobAtHandEndsBeforeTheLibraryGoes) {
    support::CleanProcess clean;
    support::LoadWorld("");
    support::PluginClient plugin;
    std::promise<void> running;
    std::future<void> started = running.get_future();
    devhost::RunOnHostWorker([&running, held = plugin.ModuleObject()]() mutable {
        running.set_value();
        // Holds on until the library has gone, or for long enough that an
        // unload waiting for this job is surely waiting.
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
        while (LibraryLoaded() && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        held.reset();
    });
    started.wait();
    EXPECT_TRUE(plugin.Unload());
}

}  // namespace
}  // namespace rtest
