#pragma once

namespace rtest {

// Threads of this process now, from /proc/self/task.
int ThreadCount();

// True when any of the module's three proxy factories is registered.
bool AnyModuleFactoryRegistered();

}  // namespace rtest
