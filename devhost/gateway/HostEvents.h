#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "devhost/world/HostChanges.h"

namespace devhost::gateway {

// The development host's changes as numbered JSON events, for
// GET /host/events (GATEWAY.md, "Host events"). Changes are noted as they
// happen and written by a thread of its own, which reads the host then:
// an event tells what the host shows at its writing, and a burst of changes
// of one kind (a scene's shapes as a branch is hidden) becomes one event.
class HostEvents {
public:
    // Keeps the latest `bound` events for readers that fall behind.
    explicit HostEvents(std::size_t bound = 10000);
    ~HostEvents();
    HostEvents(const HostEvents&) = delete;
    HostEvents& operator=(const HostEvents&) = delete;

    struct Batch {
        std::vector<std::pair<std::uint64_t, std::shared_ptr<const std::string>>> events;
        // The reader asked from before the oldest kept event, or from past
        // the latest (a host started anew): it is to read the whole state
        // again, and goes on after `resume`.
        bool missed = false;
        std::uint64_t resume = 0;
    };
    // The events numbered above `after`, waiting up to `wait` for one.
    Batch After(std::uint64_t after, std::chrono::milliseconds wait);
    std::uint64_t Last() const;

private:
    struct Inbox;
    void Run();
    // The event of a change, "" when it tells nothing any more (its scene
    // has gone, say).
    std::string Write(const HostChange& change, std::uint64_t seq) const;

    const std::size_t bound_;
    std::shared_ptr<Inbox> inbox_;
    int observer_ = 0;
    int viewListener_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable published_;
    std::deque<std::pair<std::uint64_t, std::shared_ptr<const std::string>>> events_;
    std::uint64_t last_ = 0;
    std::thread writer_;
};

}  // namespace devhost::gateway
