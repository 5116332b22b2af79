#pragma once

#include <cstddef>

namespace devhost {

// Memory for texts of tens of kilobytes: a large tree's state documents
// go out two thousand at a time, each made into a Symbol of its own. From
// malloc they would fill fresh small pages, each costing a page fault that
// on a virtual machine takes longer than copying the text; here they are
// laid one after the other into huge pages (devhost/platform/HugePages.h).
//
// Each thread fills a slab of its own; a slab goes back to a short list of
// free ones once every text in it is freed, from any thread, so that the
// next burst reuses pages already faulted in. A text kept for long keeps
// its whole slab: texts of this size are documents on their way out.
class TextSlabs {
public:
    // The sizes served: from kSmallest bytes up to, not including, kLargest.
    static constexpr std::size_t kSmallest = std::size_t{8} << 10;
    static constexpr std::size_t kLargest = std::size_t{256} << 10;
    static bool Serves(std::size_t size) { return size >= kSmallest && size < kLargest; }

    // size bytes, aligned as malloc aligns; throws std::bad_alloc.
    static void* Allocate(std::size_t size);
    // Frees what Allocate gave, from any thread.
    static void Free(void* block) noexcept;
};

}  // namespace devhost
