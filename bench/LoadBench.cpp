// LoadInstances through the plug-in: a list of the idpaths of every leaf of
// a world whose scene is empty, timed from the client's request until the
// host and the module are quiet again, at two sizes.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "BenchSupport.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/world/InstanceNode.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Tree.h"

namespace {

using Clock = std::chrono::steady_clock;

// The request text: every leaf's idpath, quoted, in one list.
struct LeafList : qxk::BaseInstanceVisitor {
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        const auto* instance = dynamic_cast<const devhost::InstanceNode*>(node.get());
        if (!instance || !instance->children.empty()) return true;
        text += (leaves++ ? ",\"" : "[\"") + node->GetIdPath().str() + "\"";
        return true;
    }
    std::string text;
    std::size_t leaves = 0;
};

// arg: leaves. A full tree of fan-out ten has as many leaves as the next
// power of ten below its size.
void BM_LoadInstances(benchmark::State& state) {
    const auto leaves = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        devhost::LargeWorldParams params;
        params.instances = leaves + (leaves - 1) / 9;
        params.depth = 6;
        params.fanOut = 10;
        params.shown = false;
        auto world = devhost::BuildLargeWorld(params);
        LeafList list;
        world->tree->Visit(list, qxk::BaseTree::VT_DepthFirst);
        const du::Symbol request(list.text + "]");
        {
            support::PluginClient client;
            state.ResumeTiming();
            const Clock::time_point start = Clock::now();
            client.Module().LoadInstances(request);
            client.Settle();
            state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
            state.PauseTiming();
        }
        state.counters["paths"] = static_cast<double>(list.leaves);
        world = nullptr;
        bench::DropWorld();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_LoadInstances)->Arg(10000)->Arg(100000)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
