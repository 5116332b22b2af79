#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <set>
#include <vector>

#include "devhost/world/InstanceNode.h"
#include "devhost/world/PlacePool.h"
#include "devhost/world/SceneModel.h"

namespace {

constexpr std::size_t kPlace = devhost::PlacePool::kPlace;

bool OnABoundary(const void* place) { return reinterpret_cast<std::uintptr_t>(place) % kPlace == 0; }

TEST(PlacePool, HandsOutWholeAlignedPlacesAcrossBlocksAndTakesFreedOnesBackFirst) {
    devhost::PlacePool pool;
    std::vector<void*> places;
    std::set<void*> distinct;
    for (int i = 0; i < 1100; ++i) {  // over two blocks
        places.push_back(pool.Allocate(kPlace));
        EXPECT_TRUE(OnABoundary(places.back()));
        EXPECT_TRUE(distinct.insert(places.back()).second);
        std::memset(places.back(), 0xab, kPlace);  // the whole place is the caller's
    }
    pool.Free(places[7]);
    pool.Free(places[600]);
    EXPECT_EQ(pool.Allocate(kPlace), places[600]);
    EXPECT_EQ(pool.Allocate(1), places[7]);
    EXPECT_THROW(pool.Allocate(kPlace + 1), std::bad_alloc);
    pool.Free(nullptr);
}

TEST(PlacePool, InstancesAndShapeInstancesSitOnPlacesOfTheirOwn) {
    du::SmartPtr<devhost::InstanceNode> node(new devhost::InstanceNode(1, du::Symbol("part")));
    du::SmartPtr<devhost::ShapeInstanceImpl> shape(new devhost::ShapeInstanceImpl(node, nullptr, true));
    EXPECT_TRUE(OnABoundary(node.get()));
    EXPECT_TRUE(OnABoundary(shape.get()));
    const void* place = node.get();
    shape.reset();
    node.reset();
    const du::SmartPtr<devhost::InstanceNode> next(new devhost::InstanceNode(2, du::Symbol("next")));
    EXPECT_EQ(next.get(), place) << "the gone instance's place is handed out again";
}

}  // namespace
