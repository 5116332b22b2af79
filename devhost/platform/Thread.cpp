#include "dp/Thread.h"

#include <pthread.h>
#include <unistd.h>

#include <condition_variable>
#include <exception>
#include <limits.h>
#include <mutex>
#include <string>

#include "devhost/platform/Faults.h"
#include "dp/QXTracer.h"

namespace dp {

struct Thread::Impl {
    Thread* owner;
    std::string name;
    unsigned int stackSize;

    std::mutex mutex;  // guards started and startupDone
    std::condition_variable startupEnded;
    std::mutex joinMutex;  // held while joining, which the thread's own steps must not need
    bool started = false;
    bool startupDone = false;
    bool joined = false;  // guarded by joinMutex
    pthread_t handle{};

    static void* Run(void* argument);
};

namespace {

// What pthread will accept: at least its minimum, in whole pages. The C
// library may still hand over a cached stack of up to four times that size;
// a stack of our own would have to hold the sanitizers' thread-local state
// too, so the size is left to pthread.
std::size_t UsableStackSize(unsigned int requested) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t size = requested < PTHREAD_STACK_MIN ? PTHREAD_STACK_MIN : requested;
    return (size + page - 1) / page * page;
}

void TraceEscape(const std::string& thread, const char* hook, const char* what) {
    QXTracer("dp", "Thread")(TT_Error) << "Thread " << thread << " left " << hook << " by an exception: " << what
                                      << "\n";
}

}  // namespace

void* Thread::Impl::Run(void* argument) {
    Impl* impl = static_cast<Impl*>(argument);
    // Linux keeps 15 characters of a thread name.
    pthread_setname_np(pthread_self(), impl->name.substr(0, 15).c_str());

    // An exception may not end the process from a host thread: it is traced,
    // and one out of ThreadStartup means the thread never got going, so
    // ThreadMain is skipped.
    bool startedUp = false;
    try {
        impl->owner->ThreadStartup();
        startedUp = true;
    } catch (const std::exception& e) {
        TraceEscape(impl->name, "ThreadStartup", e.what());
    } catch (...) {
        TraceEscape(impl->name, "ThreadStartup", "unknown");
    }
    {
        std::lock_guard<std::mutex> hold(impl->mutex);
        impl->startupDone = true;
    }
    impl->startupEnded.notify_all();
    if (!startedUp) return nullptr;
    try {
        impl->owner->ThreadMain();
    } catch (const std::exception& e) {
        TraceEscape(impl->name, "ThreadMain", e.what());
    } catch (...) {
        TraceEscape(impl->name, "ThreadMain", "unknown");
    }
    return nullptr;
}

Thread::Thread(const char* name, unsigned int stackSize) : impl_(new Impl) {
    impl_->owner = this;
    impl_->name = name ? name : "";
    impl_->stackSize = stackSize;
}

Thread::~Thread() {
    bool self = false;
    {
        std::lock_guard<std::mutex> holdJoin(impl_->joinMutex);
        std::lock_guard<std::mutex> hold(impl_->mutex);
        self = impl_->started && !impl_->joined && pthread_equal(impl_->handle, pthread_self());
        if (self) {
            // A thread that deletes its own object cannot join itself.
            pthread_detach(impl_->handle);
            impl_->joined = true;
        }
    }
    if (!self) WaitForThreadToTerminate();
    delete impl_;
}

bool Thread::Start(bool waitForStartup) {
    std::unique_lock<std::mutex> hold(impl_->mutex);
    if (impl_->started || devhost::HitFault("dp::Thread::Start")) return false;
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    bool made = pthread_attr_setstacksize(&attributes, UsableStackSize(impl_->stackSize)) == 0 &&
                pthread_create(&impl_->handle, &attributes, &Impl::Run, impl_) == 0;
    pthread_attr_destroy(&attributes);
    if (!made) return false;
    impl_->started = true;
    if (waitForStartup) impl_->startupEnded.wait(hold, [this] { return impl_->startupDone; });
    return true;
}

void Thread::WaitForThreadToTerminate() {
    std::lock_guard<std::mutex> holdJoin(impl_->joinMutex);
    {
        std::lock_guard<std::mutex> hold(impl_->mutex);
        if (!impl_->started) return;
    }
    if (impl_->joined) return;
    // The thread cannot wait for its own end.
    if (pthread_equal(impl_->handle, pthread_self())) return;
    pthread_join(impl_->handle, nullptr);
    impl_->joined = true;
}

const char* Thread::GetName() const { return impl_->name.c_str(); }

unsigned int Thread::GetStackSize() const { return impl_->stackSize; }

void Thread::ThreadStartup() {}

}  // namespace dp
