// The plug-in under many clients at once, loaded from its shared library
// into a devhost process on the sample world: eight client threads send
// mixed requests while the host changes the tree and the visibility of
// nodes, with a tree observer and a viewables request registered. Every
// request is answered and the observer hears of the host's changes in the
// order they were made. QXDllTerminate in the middle of such a load ends
// the actor, and every sender still waiting gets a failure instead of
// hanging.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "PluginClient.h"
#include "ProcessState.h"
#include "devhost/client/ClientActor.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"
#include "dom/Exceptions.h"

namespace rtest {
namespace {

// Sizes fit for the build: the sanitizers' builds run many times slower.
#if defined(__SANITIZE_THREAD__)
constexpr int kRequests = 4000;
constexpr int kHostChanges = 50;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kRequests = 20000;
constexpr int kHostChanges = 200;
#else
constexpr int kRequests = 100000;
constexpr int kHostChanges = 500;
#endif
constexpr int kClients = 8;

// One request of a mix that reads and writes, chosen by n.
void MixedRequest(webapi::WebApiModule& module, int n) {
    switch (n % 8) {
        case 0: module.GetCurrentSelection(); break;
        case 1: module.GetInstanceColor("drone/frame/arm_1"); break;
        case 2: module.SetInstancesColor({"drone/frame/arm_2"}, false, n % 16 == 2 ? "ff0000" : "00ff00"); break;
        case 3: module.SelectTreeNodes("{\"nodes\":[\"1\",\"2\",\"3\"],\"depth\":2}"); break;
        case 4: module.GetNumberOfAnnotationSets(); break;
        case 5: module.GetModelAnnotationColor("drone/frame/body_top", "dim_width"); break;
        case 6: {
            du::Symbol list;
            module.GetAllModelAnnotations(list);
            break;
        }
        default: module.GetProfiles(); break;
    }
}

class LoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(plugin.Started());
        module = du::SmartPtr<webapi::WebApiModule>(&plugin.Module());
        ASSERT_TRUE(otherClient.Adopt(secondObserver));
        module->RegisterTreeObserver(plugin.Observer());
        // The module serves one tree observer: this one is dropped.
        module->RegisterTreeObserver(secondObserver);
        Settle();
    }

    void Settle() {
        plugin.Settle();
        otherClient.Settle();
    }

    SampleWorldProcess world;
    PluginClient plugin;
    devhost::ClientActor otherClient{"OtherLoadClient"};
    CallRecorder secondTreeCalls;
    du::SmartPtr<devhost::TreeObserverReceiver> secondObserver{
        new devhost::TreeObserverReceiver(secondTreeCalls.Sink())};
    // The client's own hold on the module's proxy, which the senders keep
    // using after QXDllTerminate; let go before the plug-in is unloaded.
    du::SmartPtr<webapi::WebApiModule> module;
};

TEST_F(LoadTest, EightClientsAreAllAnsweredWhileTheHostChangesTheTree) {
    std::atomic<int> answered{0};
    std::atomic<int> failed{0};
    std::vector<std::thread> clients;
    for (int c = 0; c < kClients; ++c) {
        clients.emplace_back([&, c] {
            for (int n = c; n < kRequests; n += kClients) {
                try {
                    if (n % 1000 == 999)
                        module->GetViewables(plugin.Viewables(), n);
                    else
                        MixedRequest(*module, n);
                    ++answered;
                } catch (const std::exception&) {
                    ++failed;
                }
            }
        });
    }
    // The host's own changes, as a user working in the viewer would make
    // them: new parts, each shown and hidden, and some taken away again.
    for (int k = 0; k < kHostChanges; ++k) {
        const std::string name = "load_" + std::to_string(k);
        ASSERT_NE(devhost::AddInstanceAt("drone", name), nullptr);
        devhost::SetVisibilityOverride("drone/" + name, 1 + k % 9);
        devhost::SetVisibilityOverride("drone/frame", 1 + k % 9);
        if (k % 2 == 1) devhost::RemoveInstanceAt("drone/" + name);
    }
    for (std::thread& thread : clients) thread.join();
    Settle();

    EXPECT_EQ(answered.load(), kRequests);
    EXPECT_EQ(failed.load(), 0);
    // Each new part reaches the observer after those made before it.
    const std::vector<std::string> calls = plugin.TreeCalls().Calls();
    std::size_t previous = 0;
    for (int k = 0; k < kHostChanges; ++k) {
        const std::string name = "\"idpath\":\"drone/load_" + std::to_string(k) + "\"";
        const auto told = std::find_if(calls.begin(), calls.end(), [&](const std::string& call) {
            return call.rfind("OnTreeMapping|", 0) == 0 && call.find(name) != std::string::npos;
        });
        ASSERT_NE(told, calls.end()) << name;
        const std::size_t at = static_cast<std::size_t>(told - calls.begin());
        ASSERT_GE(at, previous) << name;
        previous = at;
    }
    EXPECT_TRUE(secondTreeCalls.Calls().empty());
    // Every viewables request that was answered was answered whole.
    const std::vector<std::string> received = plugin.ViewableCalls().Calls();
    EXPECT_EQ(std::count_if(received.begin(), received.end(),
                            [](const std::string& call) { return call.rfind("StartViewablesResult", 0) == 0; }),
              std::count_if(received.begin(), received.end(),
                            [](const std::string& call) { return call.rfind("EndViewablesResult", 0) == 0; }));
}

TEST_F(LoadTest, TerminateUnderLoadFailsEveryWaitingSenderAndLeavesNoThread) {
    const int threadsBefore = ThreadCount();
    std::mutex lock;
    std::condition_variable changed;
    int answered = 0;
    std::vector<std::string> ends(kClients);
    std::vector<std::thread> clients;
    for (int c = 0; c < kClients; ++c) {
        clients.emplace_back([&, c] {
            // Sends until the module is gone; how that shows is this
            // sender's end.
            for (int n = c;; n += kClients) {
                try {
                    MixedRequest(*module, n);
                } catch (const dom::ActorShutdownException&) {
                    ends[c] = "shutdown";
                } catch (const dom::InvalidActorException&) {
                    ends[c] = "invalid actor";
                } catch (const dom::ConnectionLostException&) {
                    ends[c] = "connection lost";
                } catch (const std::exception& e) {
                    ends[c] = std::string("unexpected: ") + e.what();
                }
                std::lock_guard<std::mutex> hold(lock);
                if (!ends[c].empty()) return;
                ++answered;
                changed.notify_all();
            }
        });
    }
    {
        std::unique_lock<std::mutex> hold(lock);
        changed.wait(hold, [&] { return answered >= 20 * kClients; });
    }
    const auto start = std::chrono::steady_clock::now();
    plugin.Terminate();
    const auto took = std::chrono::steady_clock::now() - start;
    for (std::thread& thread : clients) thread.join();

    for (int c = 0; c < kClients; ++c) EXPECT_TRUE(ends[c] == "shutdown" || ends[c] == "invalid actor") << ends[c];
    // The figure goes to the report; the suite asserts no time.
    RecordProperty("terminate_ms",
                   std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()));
    devhost::DrainHostWorker();
    plugin.Client().Settle();
    EXPECT_EQ(ThreadCountOnceAt(threadsBefore - 1), threadsBefore - 1);  // the actor's thread went
}

}  // namespace
}  // namespace rtest
