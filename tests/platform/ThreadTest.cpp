#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <thread>
#include <vector>

#include "devhost/platform/Faults.h"
#include "dp/ReadWriteLock.h"
#include "dp/Thread.h"

namespace {

class Recorder : public dp::Thread {
public:
    explicit Recorder(unsigned int stackSize) : dp::Thread("recorder", stackSize) {}
    ~Recorder() override { WaitForThreadToTerminate(); }

    std::atomic<int> startups{0};
    std::atomic<int> mains{0};
    std::atomic<bool> startupSeenByMain{false};
    std::thread::id startupThread, mainThread;
    std::size_t stackSize = 0;
    char name[16] = {};

protected:
    void ThreadStartup() override {
        startupThread = std::this_thread::get_id();
        ++startups;
    }
    void ThreadMain() override {
        mainThread = std::this_thread::get_id();
        startupSeenByMain = startups.load() == 1;
        ++mains;
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
            pthread_attr_getstacksize(&attributes, &stackSize);
            pthread_attr_destroy(&attributes);
        }
        pthread_getname_np(pthread_self(), name, sizeof name);
    }
};

}  // namespace

TEST(Thread, StartWaitsForStartupAndRunsEachHookOnceOnTheNewThread) {
    Recorder thread(0x80000);
    ASSERT_TRUE(thread.Start(true));
    EXPECT_EQ(thread.startups.load(), 1);
    EXPECT_NE(thread.startupThread, std::this_thread::get_id());
    EXPECT_FALSE(thread.Start(true));
    thread.WaitForThreadToTerminate();
    thread.WaitForThreadToTerminate();
    EXPECT_EQ(thread.mains.load(), 1);
    EXPECT_TRUE(thread.startupSeenByMain.load());
    EXPECT_EQ(thread.mainThread, thread.startupThread);
    EXPECT_STREQ(thread.name, "recorder");
}

// The C library may hand a new thread a cached stack of up to four times the
// size asked for. No thread of this suite leaves one within four times the
// actor's 512 KiB, so that stack has exactly its size; a larger request may
// be met by a cached default stack and is only known to be large enough.
TEST(Thread, RequestedStackSizeIsApplied) {
    Recorder small(0x80000);
    ASSERT_TRUE(small.Start(false));
    small.WaitForThreadToTerminate();
    EXPECT_GE(small.stackSize, 0x80000u);
    EXPECT_LT(small.stackSize, 0x100000u);

    Recorder large(0x400000);
    ASSERT_TRUE(large.Start(true));
    large.WaitForThreadToTerminate();
    EXPECT_GE(large.stackSize, 0x400000u);
}

TEST(Thread, AFailedStartRunsNothingAndWaitReturns) {
    Recorder idle(0x80000);
    devhost::ArmFault("dp::Thread::Start", {devhost::FaultKind::Fail, "", 1});
    EXPECT_FALSE(idle.Start(true));
    idle.WaitForThreadToTerminate();
    EXPECT_EQ(idle.startups.load(), 0);
}

TEST(ReadWriteLock, WritersExcludeEachOther) {
    struct Guarded : dp::ObjectLevelReadWriteLockable<Guarded*> {
        int value = 0;
    } guarded;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                guarded.WriteLock();
                ++guarded.value;
                guarded.WriteUnlock();
                guarded.ReadLock();
                EXPECT_GT(guarded.value, 0);
                guarded.ReadUnlock();
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(guarded.value, 4000);
}

TEST(AtomicOps, IncrementDecrementAndExchange) {
    volatile int count = 0;
    EXPECT_EQ(dp::AtomicOps::Increment(&count), 1);
    EXPECT_EQ(dp::AtomicOps::Decrement(&count), 0);
    int a = 0, b = 0;
    void* volatile slot = &a;
    EXPECT_EQ(dp::AtomicOps::ExchangePointer(&slot, &b), &a);
    EXPECT_EQ(dp::AtomicOps::ExchangePointer(&slot, nullptr), &b);
}
