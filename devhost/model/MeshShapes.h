#pragma once

#include <map>
#include <string>
#include <vector>

#include <assimp/scene.h>

#include "devhost/world/ShapeGeometry.h"

namespace devhost::model {

// The shapes of a model: one for every distinct list of meshes that nodes
// carry, so that nodes using the same meshes share one shape.
class MeshShapes {
public:
    MeshShapes(const aiScene& scene, const std::string& path) : scene_(scene), path_(path) {}

    // The shape of a node's meshes, made on first use; null for a node with
    // none, or whose meshes hold no triangles. Throws ModelFileError for a
    // mesh index or a vertex index out of range.
    du::SmartPtr<ShapeGeometry> ShapeOf(const aiNode& node);

private:
    du::SmartPtr<ShapeGeometry> Make(const std::vector<unsigned int>& meshes, const std::string& name) const;
    dg::Color BaseColor(unsigned int material) const;

    const aiScene& scene_;
    const std::string path_;
    std::map<std::vector<unsigned int>, du::SmartPtr<ShapeGeometry>> made_;
};

}  // namespace devhost::model
