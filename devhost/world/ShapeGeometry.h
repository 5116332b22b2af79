#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "devhost/world/WorldModel.h"
#include "dg/Color.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace devhost {

// An axis-aligned box; empty until a point is added.
struct Box {
    std::array<float, 3> min{{1.0f, 1.0f, 1.0f}};
    std::array<float, 3> max{{-1.0f, -1.0f, -1.0f}};

    bool Empty() const { return min[0] > max[0]; }
    void Add(float x, float y, float z);
};

// The triangles of a shape as a viewer uploads them: positions three floats
// a vertex, indices three a triangle. Fixed once made, so any number of
// shape instances share it.
class ShapeGeometry : public virtual du::RefCounted {
public:
    std::string name;
    std::vector<float> positions;
    std::vector<std::uint32_t> indices;
    Box box;
    // The shape's own colour (a material's base colour), shown while no
    // one has painted its instances.
    dg::Color color{0xb4b9c3ffu};
};

// A 4x4 matrix, column after column, as WebGL and three.js take it.
using Transform = std::array<float, 16>;
extern const Transform kIdentity;

// Where an instance's shape stands in the world.
struct Placement {
    du::SmartPtr<ShapeGeometry> shape;
    Transform transform;
};

// The geometry of a world: its shapes, and the placement of every instance
// that has a shape, by instance id. Filled while the world is built, read
// only after.
class WorldGeometry : public virtual du::RefCounted {
public:
    std::vector<du::SmartPtr<ShapeGeometry>> shapes;
    std::unordered_map<std::uint64_t, Placement> placements;

    // The placement of an instance; null when it has none.
    const Placement* Find(std::uint64_t id) const {
        auto found = placements.find(id);
        return found == placements.end() ? nullptr : &found->second;
    }
    // Bytes held by the shapes and placements.
    std::size_t MemoryBytes() const;
};

// Twelve triangles of a box, four vertices to each face so that every face
// shades flat.
du::SmartPtr<ShapeGeometry> MakeBoxShape(const Box& box, const std::string& name = "box");

// The world's geometry, made empty on first use.
du::SmartPtr<WorldGeometry> GeometryOf(WorldModel& world);

}  // namespace devhost
