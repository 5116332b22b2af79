#pragma once

#include <cstddef>

namespace qxk {

// Base of objects that live in the kernel's memory pool.
class MemoryPoolAllocated {
public:
    static void* operator new(std::size_t size);  // throws std::bad_alloc
    static void operator delete(void* memory) noexcept;
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void*, void*) noexcept {}
};

}  // namespace qxk
