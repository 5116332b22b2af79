#include "devhost/world/ShapeGeometry.h"

#include <algorithm>
#include <mutex>

namespace devhost {

const Transform kIdentity{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};

void Box::Add(float x, float y, float z) {
    if (Empty()) {
        min = max = {{x, y, z}};
        return;
    }
    const float point[3] = {x, y, z};
    for (int axis = 0; axis < 3; ++axis) {
        min[axis] = std::min(min[axis], point[axis]);
        max[axis] = std::max(max[axis], point[axis]);
    }
}

std::size_t WorldGeometry::MemoryBytes() const {
    // A placement's map node holds its key, the placement and a link, and
    // has a bucket.
    std::size_t bytes = sizeof(*this) + placements.size() * (sizeof(std::uint64_t) + sizeof(Placement) + 2 * sizeof(void*));
    for (const auto& shape : shapes)
        bytes += sizeof(ShapeGeometry) + shape->name.capacity() + shape->positions.capacity() * sizeof(float) +
                 shape->indices.capacity() * sizeof(std::uint32_t);
    return bytes;
}

du::SmartPtr<ShapeGeometry> MakeBoxShape(const Box& box, const std::string& name) {
    du::SmartPtr<ShapeGeometry> shape(new ShapeGeometry());
    shape->name = name;
    shape->box = box;
    // Each face: the axis it faces along, its side, and its corners in
    // counter-clockwise order seen from outside.
    static const int kFaces[6][4][3] = {
        {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {1, 0, 1}}, {{0, 0, 0}, {0, 0, 1}, {0, 1, 1}, {0, 1, 0}},
        {{0, 1, 0}, {0, 1, 1}, {1, 1, 1}, {1, 1, 0}}, {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1}},
        {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}},
    };
    for (const auto& face : kFaces) {
        const auto first = static_cast<std::uint32_t>(shape->positions.size() / 3);
        for (const auto& corner : face)
            for (int axis = 0; axis < 3; ++axis)
                shape->positions.push_back(corner[axis] ? box.max[axis] : box.min[axis]);
        for (std::uint32_t i : {0u, 1u, 2u, 0u, 2u, 3u}) shape->indices.push_back(first + i);
    }
    return shape;
}

du::SmartPtr<WorldGeometry> GeometryOf(WorldModel& world) {
    static std::mutex making;
    std::lock_guard<std::mutex> lock(making);
    du::SmartPtr<WorldGeometry> geometry = du::DynamicCast<WorldGeometry>(world.GetExtension("geometry"));
    if (!geometry) {
        geometry = new WorldGeometry();
        world.SetExtension("geometry", geometry);
    }
    return geometry;
}

}  // namespace devhost
