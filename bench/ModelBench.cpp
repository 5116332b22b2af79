// Worlds from 3D files: how long the engine assembly and the house take to
// become a world, and the memory the world holds, its geometry among it.
// The baseline: a world file's world of as many instances, with boxes.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <string>

#include "devhost/model/ModelFile.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldFile.h"

namespace {

const std::string kModels = "/usr/share/assimp/models/";

std::size_t HeapBytes() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

void Import(benchmark::State& state, const std::string& file) {
    devhost::model::ModelInfo info;
    std::size_t heap = 0, geometry = 0;
    for (auto _ : state) {
        state.PauseTiming();
        devhost::DropWorld();
        ::malloc_trim(0);
        const std::size_t before = HeapBytes();
        state.ResumeTiming();
        auto world = devhost::model::LoadModelFile(kModels + file, &info);
        state.PauseTiming();
        heap = HeapBytes() - before;
        geometry = devhost::GeometryOf(*world)->MemoryBytes();
        state.ResumeTiming();
    }
    state.counters["instances"] = static_cast<double>(info.instances);
    state.counters["shapes"] = static_cast<double>(info.shapes);
    state.counters["triangles"] = static_cast<double>(info.triangles);
    state.counters["world_MB"] = static_cast<double>(heap) / 1e6;
    state.counters["geometry_MB"] = static_cast<double>(geometry) / 1e6;
}

void BM_ImportEngine(benchmark::State& state) { Import(state, "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"); }
BENCHMARK(BM_ImportEngine)->Unit(benchmark::kMillisecond);

void BM_ImportHouse(benchmark::State& state) { Import(state, "IFC/AC14-FZK-Haus.ifc"); }
BENCHMARK(BM_ImportHouse)->Unit(benchmark::kMillisecond);

// Baseline: a world file of range(0) instances under one root, every one
// with a box and shown.
void BM_WorldFileWithBoxes(benchmark::State& state) {
    std::string children;
    for (int i = 0; i < state.range(0); ++i)
        children += std::string(i ? "," : "") + "{\"name\": \"p" + std::to_string(i) + "\", \"box\": [0, 0, " +
                    std::to_string(i) + ", 1, 1, " + std::to_string(i + 1) + "]}";
    const std::string text = "{\"structure\": [{\"name\": \"r\", \"children\": [" + children + "]}]}";
    for (auto _ : state) benchmark::DoNotOptimize(devhost::LoadWorldText(text));
}
BENCHMARK(BM_WorldFileWithBoxes)->Arg(83)->Arg(216)->Unit(benchmark::kMillisecond);

}  // namespace
