#pragma once

#include <atomic>

namespace du {

// Intrusive reference count shared by every counted host object.
// AddReference and RemoveReference take the address of the owning pointer.
// Release protocol: when the count reaches zero, a temporary reference is
// taken and ZeroReferenceCountHook runs. If it returns true the temporary
// reference is dropped, and if the count is zero again the object is
// deleted. A hook that returns false keeps the temporary reference, and with
// it the object, for whoever the hook handed it to.
class RefCounted {
public:
    RefCounted() noexcept : refCount_(0) {}
    RefCounted(const RefCounted&) noexcept : refCount_(0) {}
    RefCounted& operator=(const RefCounted&) noexcept { return *this; }
    virtual ~RefCounted();

    void AddReference(void* owner) const noexcept;
    // Takes a reference only while the count is above zero, so that an object
    // reached through a plain pointer is never revived on its way out.
    // False, and nothing taken, when the count is zero.
    bool AddReferenceIfAlive(void* owner) const noexcept;
    // Returns the new count.
    int RemoveReference(void* owner) const;
    int GetReferenceCount() const noexcept { return refCount_.load(std::memory_order_acquire); }

    virtual bool ZeroReferenceCountHook();

private:
    mutable std::atomic<int> refCount_;
};

}  // namespace du
