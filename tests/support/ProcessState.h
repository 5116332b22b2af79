#pragma once

namespace support {

// Threads of this process now, from /proc/self/task.
int ThreadCount();

// Threads of this process once the count is expected, or after two seconds.
// A joined thread may still be listed for a moment, until the kernel has
// reaped it, so a count taken right after a join can be one too high.
int ThreadCountOnceAt(int expected);

// True when any of the module's three proxy factories is registered.
bool AnyModuleFactoryRegistered();

}  // namespace support
