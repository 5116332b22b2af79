#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "devhost/gateway/ValueCodec.h"

namespace devhost::gateway {

// One section of what the development host shows of itself: written into a
// JSON value by reading the host's records, never through the host
// operations that the module calls (so inspection trips no fault point).
// How much a state lists: a scene of a large world has more shape instances
// than a page wants to read at once.
struct StateLimits {
    std::size_t shapes = static_cast<std::size_t>(-1);  // per scene
};

struct StateSection {
    std::string name;
    std::function<void(Json& out, JsonAllocator& allocator, const StateLimits& limits)> write;
};

// Every section, in the order a full state lists them.
const std::vector<StateSection>& StateSections();

}  // namespace devhost::gateway
