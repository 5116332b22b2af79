#include "devhost/gateway/WorkerPool.h"

namespace devhost::gateway {

WorkerPool::WorkerPool(std::size_t workers, std::size_t maxStreams, std::function<void()> idle)
    : workers_(workers), maxStreams_(maxStreams), idle_(std::move(idle)) {
    std::lock_guard<std::mutex> hold(mutex_);
    for (std::size_t i = 0; i < workers_; ++i) Spawn();
}

WorkerPool::~WorkerPool() { shutdown(); }

void WorkerPool::Spawn() {
    std::thread thread([this] { Work(); });
    const std::thread::id id = thread.get_id();
    threads_.emplace(id, std::move(thread));
}

void WorkerPool::enqueue(std::function<void()> job) {
    std::lock_guard<std::mutex> hold(mutex_);
    jobs_.push_back(std::move(job));
    ready_.notify_one();
}

void WorkerPool::Work() {
    std::unique_lock<std::mutex> hold(mutex_);
    for (;;) {
        ready_.wait(hold, [this] { return stopping_ || !jobs_.empty(); });
        if (jobs_.empty()) return;  // stopping, and nothing left to run
        std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        hold.unlock();
        job();
        job = nullptr;
        hold.lock();
        // A worker whose stream has ended is one too many: it leaves, and a
        // later Spawn or the shutdown joins it.
        if (!stopping_ && threads_.size() > workers_ + streams_) {
            auto self = threads_.find(std::this_thread::get_id());
            exited_.push_back(std::move(self->second));
            threads_.erase(self);
            return;
        }
    }
}

void WorkerPool::JoinExited(std::unique_lock<std::mutex>& hold) {
    std::vector<std::thread> exited;
    exited.swap(exited_);
    hold.unlock();
    for (std::thread& thread : exited) thread.join();
    hold.lock();
}

void WorkerPool::on_idle() {
    if (idle_) idle_();
}

bool WorkerPool::BeginStream() {
    std::unique_lock<std::mutex> hold(mutex_);
    if (stopping_ || streams_ >= maxStreams_) return false;
    ++streams_;
    JoinExited(hold);
    if (!stopping_) Spawn();
    return true;
}

void WorkerPool::EndStream() {
    std::lock_guard<std::mutex> hold(mutex_);
    --streams_;
}

std::size_t WorkerPool::Streams() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return streams_;
}

void WorkerPool::shutdown() {
    std::unique_lock<std::mutex> hold(mutex_);
    stopping_ = true;
    ready_.notify_all();
    while (!threads_.empty() || !exited_.empty()) {
        std::vector<std::thread> all;
        for (auto& [id, thread] : threads_) all.push_back(std::move(thread));
        threads_.clear();
        for (auto& thread : exited_) all.push_back(std::move(thread));
        exited_.clear();
        hold.unlock();
        for (std::thread& thread : all)
            if (thread.joinable()) thread.join();
        hold.lock();
    }
}

}  // namespace devhost::gateway
