#include "devhost/platform/TextSlabs.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#include "devhost/platform/HugePages.h"

namespace devhost {

namespace {

constexpr std::size_t kSlab = kHugePage;
constexpr std::size_t kAlign = alignof(std::max_align_t);
// How many free slabs are kept for the next burst, the rest unmapped.
constexpr std::size_t kKept = 32;

// At the start of each slab: its texts not yet freed, plus one while a
// thread still fills it.
struct SlabHead {
    std::atomic<std::size_t> live;
};
constexpr std::size_t kHead = (sizeof(SlabHead) + kAlign - 1) & ~(kAlign - 1);

SlabHead* HeadOf(void* block) {
    return reinterpret_cast<SlabHead*>(reinterpret_cast<std::uintptr_t>(block) & ~(kSlab - 1));
}

// Never destroyed: texts may be freed while the process ends.
struct FreeSlabs {
    std::mutex mutex;
    std::vector<char*> slabs;
};
FreeSlabs& Free() {
    static FreeSlabs* free = new FreeSlabs();
    return *free;
}

char* TakeSlab() {
    char* slab = nullptr;
    {
        FreeSlabs& free = Free();
        std::lock_guard<std::mutex> hold(free.mutex);
        if (!free.slabs.empty()) {
            slab = free.slabs.back();
            free.slabs.pop_back();
        }
    }
    if (!slab) slab = MapHugePages(kSlab);
    ::new (slab) SlabHead{{1}};
    return slab;
}

void Release(SlabHead* head) noexcept {
    if (head->live.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    char* slab = reinterpret_cast<char*>(head);
    head->~SlabHead();
    {
        FreeSlabs& free = Free();
        std::lock_guard<std::mutex> hold(free.mutex);
        if (free.slabs.size() < kKept) {
            // A vector that cannot grow: the slab is unmapped instead.
            try {
                free.slabs.push_back(slab);
                return;
            } catch (const std::bad_alloc&) {
            }
        }
    }
    UnmapHugePages(slab, kSlab);
}

// The slab this thread fills, handed back as the thread ends.
struct Filling {
    char* slab = nullptr;
    std::size_t used = 0;
    ~Filling() {
        if (slab) Release(reinterpret_cast<SlabHead*>(slab));
    }
};
thread_local Filling filling;

}  // namespace

void* TextSlabs::Allocate(std::size_t size) {
    size = (size + kAlign - 1) & ~(kAlign - 1);
    if (!filling.slab || kSlab - filling.used < size) {
        char* slab = TakeSlab();
        if (filling.slab) Release(reinterpret_cast<SlabHead*>(filling.slab));
        filling.slab = slab;
        filling.used = kHead;
    }
    reinterpret_cast<SlabHead*>(filling.slab)->live.fetch_add(1, std::memory_order_relaxed);
    void* block = filling.slab + filling.used;
    filling.used += size;
    return block;
}

void TextSlabs::Free(void* block) noexcept { Release(HeadOf(block)); }

}  // namespace devhost
