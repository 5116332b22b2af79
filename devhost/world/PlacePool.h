#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

namespace devhost {

// Memory of the world's most numerous objects, the instances and their
// shape instances. Each object gets a 128-byte place on a 128-byte
// boundary: two cache lines that the processor fetches as a pair, so that a
// pass over the objects, which reads an object's first line (its method
// table) and its last (the reference count of its virtual base), pays one
// miss per object. Places are kept and handed out again, as a viewer's node
// allocator does; the memory goes back to the system with the pool.
class PlacePool {
public:
    static constexpr std::size_t kPlace = 128;

    PlacePool() = default;
    ~PlacePool();
    PlacePool(const PlacePool&) = delete;
    PlacePool& operator=(const PlacePool&) = delete;

    void* Allocate(std::size_t size);
    void Free(void* memory) noexcept;

private:
    struct FreePlace {
        FreePlace* next;
    };

    std::mutex mutex_;
    std::vector<void*> blocks_;
    FreePlace* free_ = nullptr;
    char* fresh_ = nullptr;  // the untouched rest of the newest block
    char* freshEnd_ = nullptr;
};

// Never destroyed: objects held by other statics may go at exit after them.
PlacePool& InstancePlaces();
PlacePool& ShapeInstancePlaces();

}  // namespace devhost
