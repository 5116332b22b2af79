// Memory that a large world takes: the host world's own, as a baseline for
// what the module adds on top of it.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstddef>

#include "BenchSupport.h"
#include "devhost/samples/LargeWorld.h"

namespace {

// Heap bytes in use, which, unlike the resident set, do not count pages the
// allocator keeps after a free.
std::size_t HeapBytes() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

struct Footprint {
    std::size_t resident = 0;
    std::size_t heap = 0;

    static Footprint Now() {
        ::malloc_trim(0);
        return Footprint{bench::ResidentBytes(), HeapBytes()};
    }
};

// Per million instances, in megabytes.
double MegabytesPerMillion(std::size_t before, std::size_t after, std::size_t instances) {
    const double grown = after > before ? static_cast<double>(after - before) : 0.0;
    return grown / 1e6 * (1e6 / static_cast<double>(instances));
}

// The host world of range(0) instances, with a shape instance per leaf in
// the active view's scene.
void BM_HostWorldMemory(benchmark::State& state) {
    const auto instances = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        const Footprint before = Footprint::Now();
        devhost::LargeWorldParams params;
        params.instances = instances;
        params.depth = 6;
        params.fanOut = 10;
        auto world = devhost::BuildLargeWorld(params);
        const Footprint after = Footprint::Now();
        state.counters["rss_MB_per_1M"] = MegabytesPerMillion(before.resident, after.resident, instances);
        state.counters["heap_MB_per_1M"] = MegabytesPerMillion(before.heap, after.heap, instances);
        state.PauseTiming();
        world = nullptr;
        bench::DropWorld();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_HostWorldMemory)->Arg(1000000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
