#pragma once

#include <cstddef>
#include <string>

#include "devhost/world/WorldModel.h"

namespace devhost {

// Shape of a synthetic world for benchmarks and load tests. The structure
// is one root with fanOut children per assembly, filled level by level down
// to depth levels below the root until instances are made. The instances
// are made depth first, so their ids follow a walk of the tree.
struct LargeWorldParams {
    std::size_t instances = 1000;  // including the root; at most what depth and fan-out hold
    unsigned depth = 4;
    unsigned fanOut = 10;
    // Share of the assemblies below the root that are proxies (their branch
    // unread until expanded), chosen evenly through the tree.
    double proxyShare = 0.0;
    // Every leaf gets the one shared shape (with markups), one shared box of
    // geometry placed on a grid, and a shape instance in the scene "Model",
    // shown.
    bool shapes = true;
    // False: the leaves' shape instances are left out of the scene, which
    // starts empty, as before the client loads anything.
    bool shown = true;
    // Every this-many-th assembly gets an illustration viewable; 0: none.
    std::size_t viewableEvery = 0;
    // Where thumbnails of those viewables are written ("" for none: the
    // viewables then have no thumbnail).
    std::string folder;
};

struct LargeWorldInfo {
    std::size_t instances = 0;  // made, unread branches included
    std::size_t proxies = 0;
    std::size_t unread = 0;  // instances inside unread branches
    std::size_t shapeInstances = 0;
    std::size_t viewables = 0;
};

// Builds the world, with a shape view "Main" on the scene "Model" made
// active, and publishes it. Linear in the number of instances.
du::SmartPtr<WorldModel> BuildLargeWorld(const LargeWorldParams& params, LargeWorldInfo* info = nullptr);

}  // namespace devhost
