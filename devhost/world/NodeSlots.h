#pragma once

#include <cstdint>

namespace devhost {

// Every instance of the structure holds a slot: a small number, unique
// among the instances alive, that tables of the host index by instead of
// hashing the instance's address. Slots of instances that have gone are
// handed out again, so the numbers stay dense.
std::uint32_t AcquireNodeSlot();
void ReleaseNodeSlot(std::uint32_t slot);

}  // namespace devhost
