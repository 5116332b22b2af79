#include "devhost/model/MeshShapes.h"

#include <assimp/material.h>

#include "devhost/model/ModelFileError.h"

namespace devhost::model {

du::SmartPtr<ShapeGeometry> MeshShapes::ShapeOf(const aiNode& node) {
    if (node.mNumMeshes == 0) return nullptr;
    std::vector<unsigned int> meshes(node.mMeshes, node.mMeshes + node.mNumMeshes);
    auto found = made_.find(meshes);
    if (found != made_.end()) return found->second;
    for (unsigned int mesh : meshes)
        if (mesh >= scene_.mNumMeshes)
            throw ModelFileError(path_ + ": node \"" + node.mName.C_Str() + "\" names mesh " + std::to_string(mesh) +
                                 " of " + std::to_string(scene_.mNumMeshes));
    const aiMesh& first = *scene_.mMeshes[meshes.front()];
    du::SmartPtr<ShapeGeometry> shape = Make(meshes, first.mName.length ? first.mName.C_Str() : node.mName.C_Str());
    made_.emplace(std::move(meshes), shape);
    return shape;
}

du::SmartPtr<ShapeGeometry> MeshShapes::Make(const std::vector<unsigned int>& meshes, const std::string& name) const {
    du::SmartPtr<ShapeGeometry> shape(new ShapeGeometry());
    shape->name = name;
    // The colour of the mesh with the most triangles stands for the shape.
    unsigned int mostFaces = 0;
    for (unsigned int index : meshes) {
        const aiMesh& mesh = *scene_.mMeshes[index];
        if (!(mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE) || !mesh.mVertices) continue;
        const auto first = static_cast<std::uint32_t>(shape->positions.size() / 3);
        for (unsigned int v = 0; v < mesh.mNumVertices; ++v) {
            const aiVector3D& p = mesh.mVertices[v];
            shape->positions.insert(shape->positions.end(), {p.x, p.y, p.z});
            shape->box.Add(p.x, p.y, p.z);
        }
        unsigned int triangles = 0;
        for (unsigned int f = 0; f < mesh.mNumFaces; ++f) {
            const aiFace& face = mesh.mFaces[f];
            if (face.mNumIndices != 3) continue;  // points and lines left after the split
            for (unsigned int k = 0; k < 3; ++k) {
                if (face.mIndices[k] >= mesh.mNumVertices)
                    throw ModelFileError(path_ + ": mesh \"" + mesh.mName.C_Str() + "\" has an index out of range (" +
                                         std::to_string(face.mIndices[k]) + " of " +
                                         std::to_string(mesh.mNumVertices) + " vertices)");
                shape->indices.push_back(first + face.mIndices[k]);
            }
            ++triangles;
        }
        if (triangles > mostFaces) {
            mostFaces = triangles;
            shape->color = BaseColor(mesh.mMaterialIndex);
        }
    }
    if (shape->indices.empty()) return nullptr;
    shape->positions.shrink_to_fit();
    shape->indices.shrink_to_fit();
    return shape;
}

dg::Color MeshShapes::BaseColor(unsigned int index) const {
    if (index >= scene_.mNumMaterials) return ShapeGeometry().color;
    const aiMaterial& material = *scene_.mMaterials[index];
    aiColor4D color;
    if (material.Get(AI_MATKEY_BASE_COLOR, color) != aiReturn_SUCCESS &&
        material.Get(AI_MATKEY_COLOR_DIFFUSE, color) != aiReturn_SUCCESS)
        return ShapeGeometry().color;
    float opacity = 1.0f;
    if (material.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS) color.a *= opacity;
    return dg::Color(color.r, color.g, color.b, color.a);
}

}  // namespace devhost::model
