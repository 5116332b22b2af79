#pragma once

namespace dg {

// A point in world co-ordinates.
struct Location {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Location() noexcept = default;
    Location(double xValue, double yValue, double zValue) noexcept : x(xValue), y(yValue), z(zValue) {}

    bool operator==(const Location& other) const noexcept {
        return x == other.x && y == other.y && z == other.z;
    }
    bool operator!=(const Location& other) const noexcept { return !(*this == other); }
};

}  // namespace dg
