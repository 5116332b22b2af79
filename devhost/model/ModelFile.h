#pragma once

#include <cstddef>
#include <string>

#include "devhost/model/ModelFileError.h"
#include "devhost/world/WorldModel.h"

namespace devhost::model {

struct ModelInfo {
    std::size_t instances = 0;
    std::size_t shapes = 0;      // distinct shapes, shared ones once
    std::size_t placed = 0;      // instances with a shape
    std::size_t triangles = 0;   // of the distinct shapes
    bool sideFile = false;
};

// Builds the world of a 3D file in any format the Open Asset Import Library
// reads (WORLD_FORMAT.md, "Worlds from 3D models"), with the rest of the
// world from the side file PATH.world.json when there is one, and publishes
// it. Throws ModelFileError naming the file and the reason; nothing is
// published then.
du::SmartPtr<WorldModel> LoadModelFile(const std::string& path, ModelInfo* info = nullptr);

}  // namespace devhost::model
