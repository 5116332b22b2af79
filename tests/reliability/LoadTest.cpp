// The plug-in under many clients at once, loaded from its shared library
// into a devhost process on the sample world: eight client threads send
// mixed requests while the host changes the tree and the visibility of
// nodes, with a tree observer and a viewables request registered. Every
// request is answered and the observer hears of the host's changes in the
// order they were made. QXDllTerminate in the middle of such a load ends
// the actor, and every sender still waiting gets a failure instead of
// hanging.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "ProcessState.h"
#include "devhost/client/ClientActor.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"
#include "dom/Exceptions.h"
#include "rapidjson/document.h"

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

// The method of a recorded call, and its text: the first argument.
std::string MethodOf(const std::string& call) { return call.substr(0, call.find('|')); }
std::string TextOf(const std::string& call) {
    const std::size_t bar = call.find('|');
    return bar == std::string::npos ? std::string() : call.substr(bar + 1);
}

// Every document travels between its opening and closing call, with
// nothing of another document in between: a mapping document alone, update
// documents one or more. Empty when so; else what broke the order.
std::string BracketBreak(const std::vector<std::string>& calls) {
    std::string open;  // "Mapping" or "Update" while a document is open
    int documents = 0;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const std::string method = MethodOf(calls[i]);
        const std::string at = " at call " + std::to_string(i) + ": " + method;
        if (open.empty()) {
            if (method != "OnTreeMappingBegin" && method != "OnTreeUpdateBegin") return "outside a document" + at;
            open = method == "OnTreeMappingBegin" ? "Mapping" : "Update";
            documents = 0;
        } else if (method == "OnTree" + open) {
            if (open == "Mapping" && documents == 1) return "a second mapping document" + at;
            ++documents;
        } else if (method == "OnTree" + open + "End") {
            if (open == "Mapping" && documents == 0) return "a mapping without its document" + at;
            open.clear();
        } else {
            return "inside a " + open + " document" + at;
        }
    }
    return open.empty() ? std::string() : "a document left open";
}

// The entries of a document under key, each as its "id" and the member
// named, or none when the text is not such a document.
std::vector<std::pair<std::string, std::string>> Entries(const std::string& text, const char* key,
                                                         const char* member) {
    rapidjson::Document document;
    document.Parse(text.c_str());
    std::vector<std::pair<std::string, std::string>> entries;
    if (document.HasParseError() || !document.IsObject() || !document.HasMember(key) || !document[key].IsArray())
        return entries;
    for (const auto& entry : document[key].GetArray())
        entries.emplace_back(entry["id"].GetString(), entry[member].GetString());
    return entries;
}

// Where in its stream of calls the tree observer heard of the host's
// changes: additions, removals, and the visibility reports of the host's
// tree model ("treeUpdate"; answers to node queries are
// "treeUpdateChanges").
struct Heard {
    std::map<std::string, std::size_t> added, removed;  // by idpath
    std::map<std::string, std::string> idOf;             // idpath to id
    std::map<std::string, std::vector<std::pair<std::size_t, std::string>>> states;  // by id: (place, state)
};

Heard WhatWasHeard(const std::vector<std::string>& calls) {
    Heard heard;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const std::string method = MethodOf(calls[i]);
        const std::string text = TextOf(calls[i]);
        if (method == "OnTreeMapping") {
            for (const auto& [id, path] : Entries(text, "treeMapping", "idpath")) {
                heard.added.emplace(path, i);
                heard.idOf[path] = id;
            }
            for (const auto& entry : Entries(text, "treeRemove", "idpath")) heard.removed.emplace(entry.second, i);
        } else if (method == "OnTreeUpdate") {
            for (const auto& [id, state] : Entries(text, "treeUpdate", "state")) heard.states[id].emplace_back(i, state);
        }
    }
    return heard;
}

// Each viewables answer is one run: its start, its results and its end,
// all with the request's id, and no call of another answer inside it.
std::string ViewablesBreak(const std::vector<std::string>& calls) {
    std::string open;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const std::string method = MethodOf(calls[i]);
        const std::string id = calls[i].substr(calls[i].rfind('|') + 1);
        const std::string at = " at call " + std::to_string(i) + ": " + method + " of " + id;
        if (method == "StartViewablesResult") {
            if (!open.empty()) return "an answer inside the answer to " + open + at;
            open = id;
        } else if (open != id) {
            return (open.empty() ? std::string("outside an answer") : "inside the answer to " + open) + at;
        } else if (method == "EndViewablesResult") {
            open.clear();
        }
    }
    return open.empty() ? std::string() : "the answer to " + open + " left open";
}

class LoadTest : public ::testing::Test {
protected:
    void SetUp() override {
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

    support::CleanProcess clean;
    const du::SmartPtr<devhost::WorldModel> world = support::LoadWorld("");
    support::CallRecorder treeCalls, viewableCalls;
    support::PluginClient plugin{treeCalls.Sink(), viewableCalls.Sink()};
    devhost::ClientActor otherClient{"OtherLoadClient"};
    support::CallRecorder secondTreeCalls;
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
    const std::vector<std::string> calls = treeCalls.Calls();
    EXPECT_EQ(BracketBreak(calls), "");
    Heard heard = WhatWasHeard(calls);
    // Additions and removals reach the observer in the order the host made
    // them, each part's removal after its addition, and what the host's
    // tree model reports of a part's visibility only while the observer
    // knows the part.
    std::size_t lastAdded = 0, lastRemoved = 0;
    for (int k = 0; k < kHostChanges; ++k) {
        const std::string path = "drone/load_" + std::to_string(k);
        const auto added = heard.added.find(path);
        ASSERT_NE(added, heard.added.end()) << path;
        ASSERT_GE(added->second, lastAdded) << path;
        lastAdded = added->second;
        std::size_t until = calls.size();
        if (k % 2 == 1) {
            const auto removed = heard.removed.find(path);
            ASSERT_NE(removed, heard.removed.end()) << path;
            ASSERT_GT(removed->second, added->second) << path;
            ASSERT_GE(removed->second, lastRemoved) << path;
            lastRemoved = until = removed->second;
        } else {
            EXPECT_EQ(heard.removed.count(path), 0u) << path;
        }
        const auto reported = heard.states.find(heard.idOf.at(path));
        if (reported == heard.states.end()) continue;
        for (const auto& [place, state] : reported->second) {
            EXPECT_TRUE(place > added->second && place < until) << path << " reported at call " << place;
        }
    }
    // The visibility the host gave drone/frame, one value after the other,
    // reaches the observer in that order, after what it was told of the
    // part before: each value differs from the one before, so each is a
    // change of its own.
    ASSERT_EQ(heard.idOf.count("drone/frame"), 1u);
    std::vector<std::string> frameStates;
    for (const auto& [place, state] : heard.states[heard.idOf.at("drone/frame")]) frameStates.push_back(state);
    std::vector<std::string> expected;
    for (int k = 0; k < kHostChanges; ++k) expected.push_back(std::to_string(1 + k % 9));
    ASSERT_GE(frameStates.size(), expected.size());
    const auto firstOfHost = frameStates.end() - static_cast<std::ptrdiff_t>(expected.size());
    EXPECT_EQ(std::vector<std::string>(firstOfHost, frameStates.end()), expected);
    EXPECT_TRUE(secondTreeCalls.Calls().empty());
    // Every viewables answer is whole and stands apart from the others.
    EXPECT_EQ(ViewablesBreak(viewableCalls.Calls()), "");
}

TEST_F(LoadTest, TerminateUnderLoadFailsEveryWaitingSenderAndLeavesNoThread) {
    const int threadsBefore = support::ThreadCount();
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
    EXPECT_EQ(support::ThreadCountOnceAt(threadsBefore - 1), threadsBefore - 1);  // the actor's thread went
}

}  // namespace
}  // namespace rtest
