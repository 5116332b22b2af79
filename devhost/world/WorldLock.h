#pragma once

#include <mutex>

namespace devhost {

// The one lock of the world model: every world operation holds it while it
// reads or changes host state, and none holds it while it calls code of the
// module (visitors, tree interfaces, event hooks, observers).
std::recursive_mutex& WorldMutex();

using WorldGuard = std::lock_guard<std::recursive_mutex>;

}  // namespace devhost
