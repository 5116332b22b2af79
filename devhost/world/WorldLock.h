#pragma once

#include <cstdint>
#include <mutex>

namespace devhost {

// The one lock of the world model: every world operation holds it while it
// reads or changes host state, and none holds it while it calls code of the
// module (visitors, tree interfaces, event hooks, observers).
std::recursive_mutex& WorldMutex();

using WorldGuard = std::lock_guard<std::recursive_mutex>;

// A stamp that every change of the structure or of a scene's shapes moves
// on (under the lock, or while the changed object is not yet shared), so
// that what is worked out from them can be kept until the next change.
// Never 0.
std::uint64_t WorldGeneration();
void NextWorldGeneration();

}  // namespace devhost
