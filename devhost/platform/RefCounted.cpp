#include "du/RefCounted.h"

namespace du {

RefCounted::~RefCounted() = default;

void RefCounted::AddReference(void*) const noexcept { refCount_.fetch_add(1, std::memory_order_relaxed); }

bool RefCounted::AddReferenceIfAlive(void*) const noexcept {
    int count = refCount_.load(std::memory_order_acquire);
    while (count > 0) {
        if (refCount_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) return true;
    }
    return false;
}

int RefCounted::RemoveReference(void*) const {
    int count = refCount_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (count != 0) return count;
    // The hook runs under a temporary reference so that it may hand the
    // object on; only a count that is zero again after it frees the object.
    RefCounted* self = const_cast<RefCounted*>(this);
    refCount_.fetch_add(1, std::memory_order_relaxed);
    if (self->ZeroReferenceCountHook() && refCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete self;
    return count;
}

bool RefCounted::ZeroReferenceCountHook() { return true; }

}  // namespace du
