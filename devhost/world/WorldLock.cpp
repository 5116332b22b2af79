#include "devhost/world/WorldLock.h"

namespace devhost {

std::recursive_mutex& WorldMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

}  // namespace devhost
