#pragma once

#include <functional>
#include <string>
#include <vector>

#include "devhost/gateway/ValueCodec.h"

namespace devhost::gateway {

// One section of what the development host shows of itself: written into a
// JSON value by reading the host's records, never through the host
// operations that the module calls (so inspection trips no fault point).
struct StateSection {
    std::string name;
    std::function<void(Json& out, JsonAllocator& allocator)> write;
};

// Every section, in the order a full state lists them.
const std::vector<StateSection>& StateSections();

}  // namespace devhost::gateway
