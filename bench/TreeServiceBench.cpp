// The tree service through the plug-in, timed from the client's request
// until the last document it causes has reached the client's actor: the
// node state query of a whole branch, and the load of a whole branch into
// an empty scene. Each runs at two sizes, so that their ratio shows how the
// cost grows.

#include <benchmark/benchmark.h>

#include <time.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "BenchSupport.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/world/InstanceNode.h"
#include "devhost/world/WorldControl.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// CPU time of the whole process (host worker, module, client): what the
// work costs whatever else the machine is doing, where wall time grows with
// the machine's load.
double ProcessCpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// A world whose root holds a branch of range(0) instances in all.
du::SmartPtr<devhost::WorldModel> BranchWorld(const benchmark::State& state, bool shown) {
    devhost::LargeWorldParams params;
    params.instances = static_cast<std::size_t>(state.range(0));
    params.depth = 6;
    params.fanOut = 10;
    params.shown = shown;
    return devhost::BuildLargeWorld(params);
}

std::string RootId() { return std::to_string(devhost::FindInstanceAt("product")->uid); }

// Sends the request and waits until every side is quiet: the wall time
// becomes the iteration's, and the process CPU time spent is given back.
double TimedSelect(benchmark::State& state, support::PluginClient& client, const du::Symbol& request) {
    const Clock::time_point start = Clock::now();
    const double cpuStart = ProcessCpuSeconds();
    client.Module().SelectTreeNodes(request);
    client.Settle();
    state.SetIterationTime(SecondsSince(start));
    return ProcessCpuSeconds() - cpuStart;
}

// SelectTreeNodes with "nodes": the visibility state of every instance of
// the branch, to the leaves, in documents of 500.
void BM_NodeStateQuery(benchmark::State& state) {
    auto world = BranchWorld(state, true);
    {
        bench::CallCounter received;
        support::PluginClient client{received.Sink()};
        client.Module().RegisterTreeObserver(client.Observer());
        client.Settle();
        const du::Symbol request("{\"nodes\":[\"" + RootId() + "\"],\"depth\":-1}");
        std::size_t documents = 0;
        double cpu = 0.0;
        for (auto _ : state) {
            devhost::TraceLog::Clear();
            const std::size_t before = received.Calls();
            cpu += TimedSelect(state, client, request);
            documents = received.Calls() - before - 2;  // less the opening and closing calls
        }
        state.counters["documents"] = static_cast<double>(documents);
        state.counters["cpu_ms"] = cpu * 1e3 / static_cast<double>(state.iterations());
    }
    world = nullptr;
    bench::DropWorld();
}
BENCHMARK(BM_NodeStateQuery)->Arg(100000)->Arg(200000)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

// SelectTreeNodes naming the root of a world whose scene is empty: the
// whole branch is loaded and shown, and the client told of its visibility.
void BM_BranchLoad(benchmark::State& state) {
    std::size_t callbacks = 0;
    double cpu = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        auto world = BranchWorld(state, false);
        {
            bench::CallCounter received;
            support::PluginClient client{received.Sink()};
            client.Module().RegisterTreeObserver(client.Observer());
            client.Settle();
            const du::Symbol request("{\"primaryNode\":\"" + RootId() + "\"}");
            const std::size_t before = received.Calls();
            state.ResumeTiming();
            cpu += TimedSelect(state, client, request);
            state.PauseTiming();
            callbacks = received.Calls() - before;
        }
        world = nullptr;
        bench::DropWorld();
        state.ResumeTiming();
    }
    state.counters["callbacks"] = static_cast<double>(callbacks);
    state.counters["cpu_ms"] = cpu * 1e3 / static_cast<double>(state.iterations());
}
BENCHMARK(BM_BranchLoad)->Arg(100000)->Arg(200000)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
