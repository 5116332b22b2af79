#include "dp/ReadWriteLock.h"

namespace dp {

ReadWriteLock::ReadWriteLock() = default;
ReadWriteLock::~ReadWriteLock() = default;

void ReadWriteLock::ReadLock() { mutex_.lock_shared(); }
void ReadWriteLock::ReadUnlock() { mutex_.unlock_shared(); }
void ReadWriteLock::WriteLock() { mutex_.lock(); }
void ReadWriteLock::WriteUnlock() { mutex_.unlock(); }

int AtomicOps::Increment(volatile int* value) {
    return __atomic_add_fetch(const_cast<int*>(value), 1, __ATOMIC_SEQ_CST);
}

int AtomicOps::Decrement(volatile int* value) {
    return __atomic_sub_fetch(const_cast<int*>(value), 1, __ATOMIC_SEQ_CST);
}

void* AtomicOps::ExchangePointer(void* volatile* target, void* replacement) {
    return __atomic_exchange_n(const_cast<void**>(target), replacement, __ATOMIC_SEQ_CST);
}

}  // namespace dp
