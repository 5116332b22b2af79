#include "devhost/world/HostWorker.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <thread>

#include "devhost/platform/ActorQuiet.h"
#include "devhost/platform/TraceLog.h"

namespace devhost {

namespace {

class HostWorker {
public:
    HostWorker() : thread_([this] { Run(); }) {}
    ~HostWorker() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }

    void Post(std::function<void()> job) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            jobs_.push_back(std::move(job));
            ++posted_;
            NoteWorkHandedOut();
        }
        wake_.notify_all();
    }

    // Jobs that jobs post are waited for too.
    void Drain() {
        std::unique_lock<std::mutex> lock(mutex_);
        idle_.wait(lock, [&] { return done_ == posted_; });
    }

private:
    // A viewer's loader thread outlives a job that throws: the job ends
    // there, with a trace entry, and the thread goes on with the next.
    static void RunGuarded(const std::function<void()>& job) {
        try {
            job();
        } catch (const std::exception& e) {
            TraceLog::Append(
                TraceEntry{"devhost", "HostWorker", 3, std::string("Host job ended by an exception: ") + e.what() + "\n"});
        } catch (...) {
            TraceLog::Append(TraceEntry{"devhost", "HostWorker", 3, "Host job ended by an unknown exception\n"});
        }
    }

    void Run() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
            if (jobs_.empty()) return;  // stopping with nothing left
            std::function<void()> job = std::move(jobs_.front());
            jobs_.pop_front();
            lock.unlock();
            RunGuarded(job);
            job = nullptr;  // what the job held goes on this thread, outside the lock
            lock.lock();
            ++done_;
            idle_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable idle_;
    std::deque<std::function<void()>> jobs_;
    unsigned long long posted_ = 0;
    unsigned long long done_ = 0;
    bool stopping_ = false;
    std::thread thread_;
};

HostWorker& Worker() {
    static HostWorker worker;
    return worker;
}

}  // namespace

void RunOnHostWorker(std::function<void()> job) { Worker().Post(std::move(job)); }

void DrainHostWorker() { Worker().Drain(); }

}  // namespace devhost
