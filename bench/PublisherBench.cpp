// The tree change publisher on a world of a million instances: the
// "treeMapping" document that tells the client of every instance, and the
// 2,000 "treeUpdate" documents of their visibility, each beside RapidJSON's
// Writer writing the same entries from a plain array; and what the module
// keeps per known instance beside the host's own tree model.
//
// The module's code is linked in and its tree watcher made on this thread,
// with an owner under no actor, so the host's tree model calls the publisher
// here and the observer is called directly: the figures hold the
// publisher's work, not the messaging of its documents.

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <time.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "BenchSupport.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/world/InstanceNode.h"
#include "dp/QXTracer.h"
#include "guitree/GuiInterface.h"
#include "guitree/GuiTree.h"
#include "guitree/StructureTreeState.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/Tree.h"
#include "qxk/View.h"
#include "qxk/World.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"
#include "remote/TreeObserver.h"
#include "tree/GuiTreeWatcher.h"

namespace {

// The CPU time of the benchmark's thread, on which every timed part runs:
// other work on a shared machine lengthens wall time, not this.
struct ThreadClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ThreadClock>;
    static time_point now() {
        timespec now{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
    }
};
using Clock = ThreadClock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// An owner under no actor: the tree model calls its interface on this thread.
class PlainOwner : public dom::ManagedObject {};

// Times each bracket of documents, from its opening call to its closing one.
class TimingObserver : public webapi::TreeObserver {
public:
    short GetTableOffset(int) override { return 0; }
    void OnTreeMappingBegin() override { start = Clock::now(); }
    void OnTreeMapping(const du::Symbol& document) override { mappingBytes += document.length(); }
    void OnTreeMappingEnd() override { mappingSeconds += SecondsSince(start); }
    void OnTreeUpdateBegin() override { start = Clock::now(); }
    void OnTreeUpdate(const du::Symbol& document) override {
        updateBytes += document.length();
        ++updateDocuments;
    }
    void OnTreeUpdateEnd() override { updateSeconds += SecondsSince(start); }

    Clock::time_point start;
    double mappingSeconds = 0.0, updateSeconds = 0.0;
    std::size_t mappingBytes = 0, updateBytes = 0, updateDocuments = 0;
};

// What a document tells of one instance, as plain text.
struct Entry {
    std::string id;
    std::string idPath;
    bool leaf;  // leaves have a shown shape instance in the scene
};

struct EntryCollector : qxk::BaseInstanceVisitor {
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        const auto* instance = dynamic_cast<const devhost::InstanceNode*>(node.get());
        entries.push_back({std::to_string(node->GetUniqueId()), node->GetIdPath().str(),
                           instance != nullptr && instance->children.empty()});
        instances.push_back(node);
        return true;
    }
    std::vector<Entry> entries;
    std::vector<du::SmartPtr<qxk::BaseInstance>> instances;
};

// What the contract makes the mapping cost besides writing it: the host's
// idpath of every instance, the trace of the whole text and the Symbol
// that carries it to the observer.
double MappingFixedSeconds(const std::vector<du::SmartPtr<qxk::BaseInstance>>& instances, std::size_t bytes) {
    Clock::time_point start = Clock::now();
    std::size_t length = 0;
    for (const auto& instance : instances) length += instance->GetIdPath().length();
    benchmark::DoNotOptimize(length);
    double seconds = SecondsSince(start);
    const std::string text(bytes, 'x');
    start = Clock::now();
    dp::QXTracer("bench", "Publisher")(dp::TT_Info) << "Tree Add Instances: " << text;
    const du::Symbol symbol(text);
    benchmark::DoNotOptimize(symbol.safe_c_str());
    seconds += SecondsSince(start);
    devhost::TraceLog::Clear();
    return seconds;
}

// What the contract makes the visibility updates cost besides writing them:
// the host's shape instance of every instance, and its visibility.
double UpdateFixedSeconds(const std::vector<du::SmartPtr<qxk::BaseInstance>>& instances,
                          const du::SmartPtr<qxk::ShapeScene>& scene) {
    if (!scene) return 0.0;
    const Clock::time_point start = Clock::now();
    std::size_t shown = 0;
    for (const auto& instance : instances) {
        du::SmartPtr<qxk::ShapeInstance> shape;
        if (auto* structural = dynamic_cast<qxk::Instance*>(instance.get()))
            if (scene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(structural), shape) && shape)
                shown += shape->IsVisible() ? 1 : 0;
    }
    benchmark::DoNotOptimize(shown);
    return SecondsSince(start);
}

// The baseline of the mapping: one compact document of every entry.
std::size_t WriteMapping(const std::vector<Entry>& entries) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("treeMapping");
    writer.StartArray();
    for (const Entry& entry : entries) {
        writer.StartObject();
        writer.Key("id");
        writer.String(entry.id.c_str(), static_cast<rapidjson::SizeType>(entry.id.size()));
        writer.Key("idpath");
        writer.String(entry.idPath.c_str(), static_cast<rapidjson::SizeType>(entry.idPath.size()));
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    benchmark::DoNotOptimize(buffer.GetString());
    return buffer.GetSize();
}

// The baseline of the visibility updates: documents of 500 entries.
std::size_t WriteUpdates(const std::vector<Entry>& entries) {
    std::size_t bytes = 0;
    for (std::size_t first = 0; first < entries.size(); first += 500) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        writer.StartObject();
        writer.Key("treeUpdate");
        writer.StartArray();
        for (std::size_t i = first; i < entries.size() && i < first + 500; ++i) {
            writer.StartObject();
            writer.Key("id");
            writer.String(entries[i].id.c_str(), static_cast<rapidjson::SizeType>(entries[i].id.size()));
            writer.Key("state");
            writer.String("5");
            if (entries[i].leaf) {
                writer.Key("loaded");
                writer.String("true");
            }
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
        bytes += buffer.GetSize();
        benchmark::DoNotOptimize(buffer.GetString());
    }
    return bytes;
}

std::size_t HeapBytes() {
    ::malloc_trim(0);
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The host's tree model alone, told of every instance, with an interface
// that keeps nothing: what a tree control costs the host without the module.
struct NullGui : guitree::GuiInterface {};

std::size_t HostTreeModelHeap(const du::SmartPtr<dom::ManagedObject>& owner) {
    const std::size_t before = HeapBytes();
    NullGui gui;
    du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(owner));
    tree->SetTreeState(new guitree::StructureTreeState(*tree, true));
    tree->SetGuiInterface(&gui);
    tree->Initialise(qxk::World::GetWorld());
    const std::size_t grown = HeapBytes() - before;
    tree->Close();
    tree->SetGuiInterface(nullptr);
    return grown;
}

du::SmartPtr<qxk::ShapeScene> ActiveShapeScene() {
    const du::SmartPtr<qxkapp::SceneManager> manager = qxkapp::QxkApp::Get() ? qxkapp::QxkApp::Get()->GetSceneManager() : nullptr;
    du::SmartPtr<qxk::Scene> scene;
    if (manager && manager->GetActiveView()) manager->GetActiveView()->GetScene(scene);
    return du::DynamicCast<qxk::ShapeScene>(scene);
}

// arg: instances. One watcher made on the world: its start publishes the
// mapping of every instance, then the visibility of every one.
void BM_PublishWorld(benchmark::State& state) {
    const auto instances = static_cast<std::size_t>(state.range(0));
    devhost::LargeWorldParams params;
    params.instances = instances;
    params.depth = 6;
    params.fanOut = 10;
    auto world = devhost::BuildLargeWorld(params);
    EntryCollector collected;
    world->tree->Visit(collected, qxk::BaseTree::VT_DepthFirst);
    const du::SmartPtr<dom::ManagedObject> owner(new PlainOwner());
    const std::size_t hostTreeHeap = HostTreeModelHeap(owner);

    for (auto _ : state) {
        Clock::time_point start = Clock::now();
        const std::size_t mappingBytes = WriteMapping(collected.entries);
        const double mappingBase = SecondsSince(start);
        start = Clock::now();
        const std::size_t updateBytes = WriteUpdates(collected.entries);
        const double updateBase = SecondsSince(start);

        const du::SmartPtr<TimingObserver> observer(new TimingObserver());
        devhost::TraceLog::Clear();
        const std::size_t before = HeapBytes();
        auto* watcher = new GuiTreeWatcher(owner, observer, ActiveShapeScene());
        watcher->PopulateInstanceMap();
        devhost::TraceLog::Clear();  // the devhost keeps every entry; a viewer writes them out
        const std::size_t watcherHeap = HeapBytes() - before;
        state.SetIterationTime(observer->mappingSeconds + observer->updateSeconds);
        // After the heap is measured, so that nothing they leave is counted.
        const double mappingFixed = MappingFixedSeconds(collected.instances, mappingBytes);
        const double updateFixed = UpdateFixedSeconds(collected.instances, ActiveShapeScene());

        state.counters["map_MBps"] = static_cast<double>(observer->mappingBytes) / observer->mappingSeconds / 1e6;
        state.counters["map_base_MBps"] = static_cast<double>(mappingBytes) / mappingBase / 1e6;
        state.counters["map_vs_base"] = (static_cast<double>(observer->mappingBytes) / observer->mappingSeconds) /
                                        (static_cast<double>(mappingBytes) / mappingBase);
        // Against the bare writer plus what the contract adds to it.
        state.counters["map_fixed_ms"] = mappingFixed * 1e3;
        state.counters["map_vs_base_fixed"] = observer->mappingSeconds / (mappingBase + mappingFixed);
        state.counters["map_bytes_match"] = observer->mappingBytes == mappingBytes ? 1 : 0;
        state.counters["upd_ms"] = observer->updateSeconds * 1e3;
        state.counters["upd_base_ms"] = updateBase * 1e3;
        state.counters["upd_vs_base"] = observer->updateSeconds / updateBase;
        state.counters["upd_fixed_ms"] = updateFixed * 1e3;
        state.counters["upd_vs_base_fixed"] = observer->updateSeconds / (updateBase + updateFixed);
        state.counters["upd_docs"] = static_cast<double>(observer->updateDocuments);
        state.counters["upd_bytes_match"] = observer->updateBytes == updateBytes ? 1 : 0;
        const double perMillion = 1e6 / static_cast<double>(collected.entries.size()) / 1e6;
        state.counters["module_MB_per_1M"] =
            (static_cast<double>(watcherHeap) - static_cast<double>(hostTreeHeap)) * perMillion;
        state.counters["host_tree_MB_per_1M"] = static_cast<double>(hostTreeHeap) * perMillion;
        delete watcher;
    }
    world = nullptr;
    bench::DropWorld();
}
BENCHMARK(BM_PublishWorld)->Arg(100000)->Arg(1000000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
