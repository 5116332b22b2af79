#include "devhost/world/NodeSlots.h"

#include <mutex>
#include <vector>

namespace devhost {

namespace {

struct Slots {
    std::mutex mutex;
    std::vector<std::uint32_t> free;
    std::uint32_t next = 0;
};

// Never destroyed: instances held by other statics may go at exit after it.
Slots& TheSlots() {
    static Slots* slots = new Slots();
    return *slots;
}

}  // namespace

std::uint32_t AcquireNodeSlot() {
    Slots& slots = TheSlots();
    std::lock_guard<std::mutex> guard(slots.mutex);
    if (slots.free.empty()) return slots.next++;
    const std::uint32_t slot = slots.free.back();
    slots.free.pop_back();
    return slot;
}

void ReleaseNodeSlot(std::uint32_t slot) {
    Slots& slots = TheSlots();
    std::lock_guard<std::mutex> guard(slots.mutex);
    slots.free.push_back(slot);
}

}  // namespace devhost
