#include "devhost/model/ModelStructure.h"

#include <unordered_set>

#include "devhost/model/MeshShapes.h"
#include "devhost/model/NodeNames.h"

namespace devhost::model {

namespace {

// As deep as a world file's structure may go.
constexpr std::size_t kMaxDepth = 1000;

Transform Columns(const aiMatrix4x4& m) {
    return Transform{{m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2,
                      m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4}};
}

struct Pending {
    const aiNode* node;
    InstanceNode* parent;  // null for the root
    std::string name;
    aiMatrix4x4 world;  // of the parent
    std::size_t depth;
};

}  // namespace

void BuildStructure(const aiScene& scene, const std::string& path, const std::string& rootName,
                    WorldBuilder& builder, std::vector<InstanceNode*>& placed, ModelInfo& info) {
    MeshShapes shapes(scene, path);
    std::unordered_set<const aiNode*> seen;
    std::unordered_set<const ShapeGeometry*> distinct;
    // Depth first, children in file order, without recursion: a file may
    // nest as deep as it likes.
    std::vector<Pending> stack{{scene.mRootNode, nullptr, rootName, aiMatrix4x4(), 0}};
    while (!stack.empty()) {
        Pending at = std::move(stack.back());
        stack.pop_back();
        const aiNode& node = *at.node;
        if (!seen.insert(&node).second)
            throw ModelFileError(path + ": node \"" + node.mName.C_Str() + "\" recurs in the hierarchy");
        if (at.depth >= kMaxDepth)
            throw ModelFileError(path + ": the hierarchy is deeper than " + std::to_string(kMaxDepth) + " levels");
        InstanceNode& instance = builder.AddInstance(at.parent, at.name);
        ++info.instances;
        const aiMatrix4x4 world = at.world * node.mTransformation;
        if (du::SmartPtr<ShapeGeometry> shape = shapes.ShapeOf(node)) {
            builder.Place(instance, shape, Columns(world));
            placed.push_back(&instance);
            if (distinct.insert(shape.get()).second) info.triangles += shape->indices.size() / 3;
        }
        if (node.mNumChildren == 0 || !node.mChildren) continue;
        std::vector<std::string> names;
        for (unsigned int i = 0; i < node.mNumChildren; ++i)
            names.emplace_back(node.mChildren[i] ? node.mChildren[i]->mName.C_Str() : "");
        std::vector<std::string> segments = SegmentNames(names);
        for (unsigned int i = node.mNumChildren; i-- > 0;)
            if (node.mChildren[i])
                stack.push_back({node.mChildren[i], &instance, std::move(segments[i]), world, at.depth + 1});
    }
    info.shapes = distinct.size();
    info.placed = placed.size();
}

}  // namespace devhost::model
