#include "du/CommonAllocated.h"

#include <cstdlib>
#include <new>

#include "devhost/platform/Faults.h"

namespace du {

void* CommonAllocatorImpl::Allocate(std::size_t size) noexcept {
    // Allocate cannot throw, so an armed fault of any kind reads as exhaustion.
    try {
        if (devhost::HitFault("du::CommonAllocatorImpl::Allocate")) return nullptr;
    } catch (...) {
        return nullptr;
    }
    return std::malloc(size ? size : 1);
}

void CommonAllocatorImpl::Free(void* memory) noexcept { std::free(memory); }

CommonAllocated::~CommonAllocated() = default;

const char* CommonAllocated::GetDebugClassName() const { return "du::CommonAllocated"; }

void* CommonAllocated::operator new(std::size_t size) {
    void* memory = CommonAllocatorImpl::Allocate(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace du
