#include "devhost/world/PlacePool.h"

#include <cstdlib>
#include <new>

#include <sanitizer/asan_interface.h>

namespace devhost {

namespace {

constexpr std::size_t kBlock = 64 * 1024;  // 512 places

}  // namespace

PlacePool::~PlacePool() {
    for (void* block : blocks_) std::free(block);
}

void* PlacePool::Allocate(std::size_t size) {
    if (size > kPlace) throw std::bad_alloc();
    std::lock_guard<std::mutex> guard(mutex_);
    if (FreePlace* place = free_) {
        ASAN_UNPOISON_MEMORY_REGION(place, kPlace);
        free_ = place->next;
        return place;
    }
    if (fresh_ == freshEnd_) {
        blocks_.reserve(blocks_.size() + 1);
        void* block = std::aligned_alloc(kPlace, kBlock);
        if (!block) throw std::bad_alloc();
        blocks_.push_back(block);
        fresh_ = static_cast<char*>(block);
        freshEnd_ = fresh_ + kBlock;
    }
    void* place = fresh_;
    fresh_ += kPlace;
    return place;
}

void PlacePool::Free(void* memory) noexcept {
    if (!memory) return;
    std::lock_guard<std::mutex> guard(mutex_);
    auto* place = static_cast<FreePlace*>(memory);
    place->next = free_;
    free_ = place;
    // A freed object stays unreadable under the address sanitizer, the link
    // to the next free place included, until its place is handed out again.
    ASAN_POISON_MEMORY_REGION(place, kPlace);
}

PlacePool& InstancePlaces() {
    static PlacePool* pool = new PlacePool();
    return *pool;
}

PlacePool& ShapeInstancePlaces() {
    static PlacePool* pool = new PlacePool();
    return *pool;
}

}  // namespace devhost
