// Building large synthetic worlds, walking them as the module does, and
// starting a tree model on them.

#include <benchmark/benchmark.h>

#include "devhost/samples/LargeWorld.h"
#include "devhost/world/Application.h"
#include "dom/ManagedObject.h"
#include "guitree/GuiInterface.h"
#include "guitree/GuiTree.h"
#include "guitree/StructureTreeState.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"
#include "qxk/World.h"

namespace {

void DropAll() {
    devhost::DropWorld();
    devhost::DropApplication();
}

// A world of the benchmark's instance count, six levels deep with a fan-out
// of ten, that the walking benchmarks share.
du::SmartPtr<devhost::WorldModel> BuildWalkedWorld(const benchmark::State& state, std::size_t viewableEvery) {
    devhost::LargeWorldParams params;
    params.instances = static_cast<std::size_t>(state.range(0));
    params.depth = 6;
    params.fanOut = 10;
    params.viewableEvery = viewableEvery;
    return devhost::BuildLargeWorld(params);
}

// args: instances, depth, fan-out, proxy share in percent.
void BM_BuildLargeWorld(benchmark::State& state) {
    devhost::LargeWorldParams params;
    params.instances = static_cast<std::size_t>(state.range(0));
    params.depth = static_cast<unsigned>(state.range(1));
    params.fanOut = static_cast<unsigned>(state.range(2));
    params.proxyShare = static_cast<double>(state.range(3)) / 100.0;
    params.viewableEvery = 100;
    for (auto _ : state) {
        devhost::LargeWorldInfo info;
        auto world = devhost::BuildLargeWorld(params, &info);
        benchmark::DoNotOptimize(world.get());
        state.counters["instances"] = static_cast<double>(info.instances);
        state.PauseTiming();
        world = nullptr;
        DropAll();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_BuildLargeWorld)
    ->Args({10000, 4, 10, 0})
    ->Args({100000, 5, 10, 10})
    ->Args({1000000, 6, 10, 0})
    ->Args({1000000, 6, 10, 10})
    ->Args({1000000, 20, 2, 5})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// Counts viewables the way GetViewables collects them.
struct ViewableCounter : qxk::BaseInstanceVisitor {
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        auto instance = du::DynamicCast<qxk::Instance>(node);
        if (!instance) return true;
        du::SmartPtr<qxk::ComponentNode> component;
        instance->GetComponentNode(component);
        if (component) {
            std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
            component->GetViewableSources(sources);
            count += sources.size();
        }
        return true;
    }
    std::size_t count = 0;
};

void BM_WalkViewables(benchmark::State& state) {
    auto world = BuildWalkedWorld(state, 100);
    for (auto _ : state) {
        ViewableCounter counter;
        world->tree->Visit(counter, qxk::BaseTree::VT_DepthFirst);
        benchmark::DoNotOptimize(counter.count);
    }
    world = nullptr;
    DropAll();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_WalkViewables)->Arg(100000)->Unit(benchmark::kMillisecond);

// An owner under no actor: the tree model calls its interface on this thread.
class PlainOwner : public dom::ManagedObject {};

struct CountingGui : guitree::GuiInterface {
    void InstanceCreate(const du::SmartPtr<qxk::BaseInstance>&, const du::SmartPtr<qxk::BaseInstance>&,
                        bool) override {
        ++created;
    }
    void UpdateVisAndTypeIcons(const guitree::VisAndIconChanges& changes) override { reported += changes.size(); }
    std::size_t created = 0;
    std::size_t reported = 0;
};

// Initialise of a tree model: every instance told, and its state reported.
void BM_TreeModelInitialise(benchmark::State& state) {
    auto world = BuildWalkedWorld(state, 0);
    du::SmartPtr<dom::ManagedObject> owner(new PlainOwner());
    for (auto _ : state) {
        CountingGui gui;
        du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(owner));
        tree->SetTreeState(new guitree::StructureTreeState(*tree, true));
        tree->SetGuiInterface(&gui);
        tree->Initialise(qxk::World::GetWorld());
        benchmark::DoNotOptimize(gui.created);
        state.PauseTiming();
        tree->Close();
        tree->SetGuiInterface(nullptr);
        tree = nullptr;
        state.ResumeTiming();
    }
    world = nullptr;
    DropAll();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_TreeModelInitialise)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
