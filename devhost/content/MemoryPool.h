#pragma once

#include <cstddef>

namespace devhost {

// What the kernel's memory pool holds now, for leak checks in tests.
struct MemoryPoolStats {
    std::size_t liveBlocks = 0;
    std::size_t liveBytes = 0;
    std::size_t totalBlocks = 0;  // ever allocated
};

MemoryPoolStats GetMemoryPoolStats();

}  // namespace devhost
