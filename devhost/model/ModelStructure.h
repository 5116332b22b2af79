#pragma once

#include <string>

#include <assimp/scene.h>

#include "devhost/model/ModelFile.h"
#include "devhost/world/WorldBuilder.h"

namespace devhost::model {

// Puts a model's node hierarchy into the builder: the root node becomes one
// root instance named rootName, every node below it an instance named by
// the naming rule, and every node with triangles a placement of its shape
// at the node's world transform. The nodes with a shape are given to
// placed. Throws ModelFileError for nodes that recur or nest deeper than a
// world may.
void BuildStructure(const aiScene& scene, const std::string& path, const std::string& rootName,
                    WorldBuilder& builder, std::vector<InstanceNode*>& placed, ModelInfo& info);

}  // namespace devhost::model
