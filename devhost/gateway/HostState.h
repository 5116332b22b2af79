#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "devhost/content/WorldContent.h"
#include "devhost/gateway/ValueCodec.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"

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

// The items of the sections, as they list them; the host's event stream
// writes its events of them. Each reads under the world lock.
Json ViewNameJson(const du::SmartPtr<qxk::View>& view, JsonAllocator& allocator);  // null for none
Json WorkflowMessageJson(const WorkflowMessage& message, JsonAllocator& allocator);
Json SelectionJson(const qxk::Scene& scene, JsonAllocator& allocator);  // selection set 0
Json ShapeJson(const ShapeInstanceImpl& shape, JsonAllocator& allocator);
Json LabelsJson(const qxk::Scene& scene, JsonAllocator& allocator);
Json ModuleCallJson(const ModuleCall& call, JsonAllocator& allocator);
Json ProgressJson(const ProgressDisplay& display, JsonAllocator& allocator);
Json AppliedSetJson(const WorldContent::AppliedSet& applied, JsonAllocator& allocator);

}  // namespace devhost::gateway
