#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "devhost/gateway/ValueCodec.h"

namespace devhost::gateway {

// One action of the development host's control, run on a request object
// {"action": NAME, ...}. It fills result and gives true, or sets error to
// what in the request does not fit and gives false.
struct ControlAction {
    std::string name;
    std::string arguments;  // the request's other members, for the list of actions
    std::function<bool(const Json& request, Json& result, JsonAllocator& allocator, std::string& error)> run;
};

const std::vector<ControlAction>& ControlActions();

// Builds a synthetic world of about that many instances (a tree of ten
// children an assembly, one shape on every leaf) and publishes it.
void LoadSyntheticWorld(std::size_t instances);

}  // namespace devhost::gateway
