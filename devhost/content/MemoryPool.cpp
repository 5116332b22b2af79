#include "devhost/content/MemoryPool.h"

#include <mutex>
#include <new>

#include "devhost/platform/Faults.h"
#include "du/CommonAllocated.h"
#include "qxk/MemoryPoolAllocated.h"

namespace devhost {
namespace {

// Each block carries its size in front, so that freeing can count it.
struct alignas(std::max_align_t) BlockHeader {
    std::size_t size;
};

std::mutex& PoolMutex() {
    static std::mutex mutex;
    return mutex;
}

MemoryPoolStats& Stats() {
    static MemoryPoolStats stats;
    return stats;
}

}  // namespace

MemoryPoolStats GetMemoryPoolStats() {
    std::lock_guard<std::mutex> lock(PoolMutex());
    return Stats();
}

}  // namespace devhost

namespace qxk {

void* MemoryPoolAllocated::operator new(std::size_t size) {
    using devhost::BlockHeader;
    void* memory = devhost::HitFault("qxk::MemoryPoolAllocated::operator new")
                       ? nullptr
                       : du::CommonAllocatorImpl::Allocate(sizeof(BlockHeader) + size);
    if (!memory) throw std::bad_alloc();
    static_cast<BlockHeader*>(memory)->size = size;
    {
        std::lock_guard<std::mutex> lock(devhost::PoolMutex());
        auto& stats = devhost::Stats();
        ++stats.liveBlocks;
        ++stats.totalBlocks;
        stats.liveBytes += size;
    }
    return static_cast<BlockHeader*>(memory) + 1;
}

void MemoryPoolAllocated::operator delete(void* memory) noexcept {
    using devhost::BlockHeader;
    if (!memory) return;
    BlockHeader* header = static_cast<BlockHeader*>(memory) - 1;
    {
        std::lock_guard<std::mutex> lock(devhost::PoolMutex());
        auto& stats = devhost::Stats();
        --stats.liveBlocks;
        stats.liveBytes -= header->size;
    }
    du::CommonAllocatorImpl::Free(header);
}

}  // namespace qxk
