#pragma once

#include <string>

#include "devhost/world/WorldModel.h"

namespace devhost {

// The built-in sample world: a small quadcopter drone with its structure,
// proxies, shapes and markups, a selection, viewables with thumbnails,
// annotation sets, optional modules and views of several kinds. Its file
// and thumbnails stand in the source tree (devhost/samples/default/).
std::string DefaultSampleWorldPath();

// Loads the default sample world and publishes it as the world of the process.
du::SmartPtr<WorldModel> LoadDefaultSampleWorld();

}  // namespace devhost
