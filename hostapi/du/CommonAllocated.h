#pragma once

#include <cstddef>

namespace du {

// The host's common heap. Allocate gives null when memory cannot be had.
class CommonAllocatorImpl {
public:
    static void* Allocate(std::size_t size) noexcept;
    static void Free(void* memory) noexcept;
};

// Base of objects that live on the common heap.
class CommonAllocated {
public:
    CommonAllocated() = default;
    virtual ~CommonAllocated();
    virtual const char* GetDebugClassName() const;

    static void* operator new(std::size_t size);  // throws std::bad_alloc
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* memory) noexcept { CommonAllocatorImpl::Free(memory); }
    static void operator delete(void*, void*) noexcept {}
};

}  // namespace du
