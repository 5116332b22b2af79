#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "PluginClient.h"
#include "devhost/client/CallbackReceivers.h"

namespace bench {

// Counts the callbacks a client's object receives and nothing more, so
// that the client costs as little as a client can.
class CallCounter {
public:
    devhost::CallbackSink Sink() {
        return [this](const devhost::ReceivedCall&) { calls_.fetch_add(1, std::memory_order_relaxed); };
    }
    std::size_t Calls() const { return calls_.load(); }

private:
    std::atomic<std::size_t> calls_{0};
};

// The value below which the given share (0..1) of the samples fall; sorts them.
double Percentile(std::vector<double>& samples, double share);

// The resident set of the process, in bytes.
std::size_t ResidentBytes();

// Drops the world and the application of the process, and the trace so far.
void DropWorld();

}  // namespace bench
