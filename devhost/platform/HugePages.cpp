#include "devhost/platform/HugePages.h"

#include <sys/mman.h>

#include <cstdint>
#include <new>

namespace devhost {

std::size_t HugePagesLength(std::size_t length) { return (length + kHugePage - 1) & ~(kHugePage - 1); }

// A mapping of one huge page more than wanted is cut down to its aligned part.
char* MapHugePages(std::size_t wanted) {
    const std::size_t length = HugePagesLength(wanted);
    void* mapped = ::mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = HugePagesLength(start);  // the next boundary
    if (aligned > start) ::munmap(mapped, aligned - start);
    const std::size_t tail = start + length + kHugePage - (aligned + length);
    if (tail) ::munmap(reinterpret_cast<void*>(aligned + length), tail);
    ::madvise(reinterpret_cast<void*>(aligned), length, MADV_HUGEPAGE);
    return reinterpret_cast<char*>(aligned);
}

void UnmapHugePages(char* pages, std::size_t length) { ::munmap(pages, HugePagesLength(length)); }

}  // namespace devhost
