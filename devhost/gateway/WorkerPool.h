#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>

namespace devhost::gateway {

// The gateway's connections' threads. A fixed number of workers serve
// requests; a request that becomes an event stream, open for as long as
// its page is, hands its place to a new worker, so that open streams never
// leave calls waiting. Streams are capped, so that they cannot take
// threads without a bound either.
class WorkerPool : public httplib::TaskQueue {
public:
    // idle runs on the listening thread whenever no connection has come for
    // the server's idle interval.
    WorkerPool(std::size_t workers, std::size_t maxStreams, std::function<void()> idle);
    ~WorkerPool() override;
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void enqueue(std::function<void()> job) override;
    // Ends every thread once the jobs taken have run.
    void shutdown() override;
    void on_idle() override;

    // Called on the worker whose request becomes a stream; false when as
    // many streams as the cap are open. A true is matched by EndStream.
    bool BeginStream();
    void EndStream();
    std::size_t Streams() const;

private:
    void Spawn();  // the lock is held
    void Work();
    void JoinExited(std::unique_lock<std::mutex>& hold);

    const std::size_t workers_;
    const std::size_t maxStreams_;
    const std::function<void()> idle_;
    mutable std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::function<void()>> jobs_;
    std::map<std::thread::id, std::thread> threads_;
    std::vector<std::thread> exited_;
    std::size_t streams_ = 0;
    bool stopping_ = false;
};

}  // namespace devhost::gateway
