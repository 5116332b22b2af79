#include "devhost/world/WorldLock.h"

#include <atomic>

namespace devhost {

namespace {

std::atomic<std::uint64_t> generation{1};

}  // namespace

std::recursive_mutex& WorldMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

std::uint64_t WorldGeneration() { return generation.load(std::memory_order_relaxed); }

void NextWorldGeneration() { generation.fetch_add(1, std::memory_order_relaxed); }

}  // namespace devhost
