#pragma once

#include <shared_mutex>

namespace dp {

class ReadWriteLock {
public:
    ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;
    ~ReadWriteLock();

    void ReadLock();
    void ReadUnlock();
    void WriteLock();
    void WriteUnlock();

private:
    std::shared_mutex mutex_;
};

// Word-sized atomic operations of the host.
class AtomicOps {
public:
    static int Increment(volatile int* value);
    static int Decrement(volatile int* value);
    // Stores replacement and returns the previous value.
    static void* ExchangePointer(void* volatile* target, void* replacement);
};

// Gives an object its own read-write lock. T names the owning class.
template <class T>
class ObjectLevelReadWriteLockable : public AtomicOps {
public:
    ObjectLevelReadWriteLockable() = default;
    virtual ~ObjectLevelReadWriteLockable() = default;

    void ReadLock() const { lock_.ReadLock(); }
    void ReadUnlock() const { lock_.ReadUnlock(); }
    void WriteLock() const { lock_.WriteLock(); }
    void WriteUnlock() const { lock_.WriteUnlock(); }
    ReadWriteLock& GetLock() const { return lock_; }

private:
    mutable ReadWriteLock lock_;
};

}  // namespace dp
