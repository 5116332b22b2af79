// Geometry of the worlds that are not models: boxes of world files (and the
// places of their mistakes), and the one shared box of a synthetic world's
// leaves, so that every world has something to draw.

#include <gtest/gtest.h>

#include <set>

#include "CleanProcess.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldFile.h"
#include "devhost/world/WorldLock.h"

namespace {

class WorldGeometry : public ::testing::Test {
protected:
    support::CleanProcess clean;
};

std::uint64_t IdOf(devhost::WorldModel& world, const std::string& idPath) {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return world.Tree().Find(idPath)->uid;
}

TEST_F(WorldGeometry, AWorldFileGivesAnInstanceABoxOfTwelveTrianglesWhereItSays) {
    auto world = devhost::LoadWorldText(R"({"structure": [{"name": "r", "children": [
        {"name": "a", "box": [0, 1, 2, 3, 4.5, 6]}, {"name": "b"}]}]})");
    auto geometry = devhost::GeometryOf(*world);
    const devhost::Placement* a = geometry->Find(IdOf(*world, "r/a"));
    ASSERT_NE(nullptr, a);
    EXPECT_EQ(nullptr, geometry->Find(IdOf(*world, "r/b")));
    EXPECT_EQ(nullptr, geometry->Find(IdOf(*world, "r")));
    EXPECT_EQ((std::array<float, 3>{{0, 1, 2}}), a->shape->box.min);
    EXPECT_EQ((std::array<float, 3>{{3, 4.5f, 6}}), a->shape->box.max);
    EXPECT_EQ(36u, a->shape->indices.size());
    EXPECT_EQ(devhost::kIdentity, a->transform);
    for (std::size_t i = 0; i < a->shape->positions.size(); i += 3) {
        const float x = a->shape->positions[i], y = a->shape->positions[i + 1], z = a->shape->positions[i + 2];
        EXPECT_TRUE((x == 0 || x == 3) && (y == 1 || y == 4.5f) && (z == 2 || z == 6));
    }
}

TEST_F(WorldGeometry, ABoxThatIsNoBoxIsRefusedAtItsPlace) {
    const struct {
        const char* box;
        const char* what;
    } wrong[] = {
        {"[0, 0, 0, 1, 1]", "expected [xmin, ymin, zmin, xmax, ymax, zmax], finite numbers"},
        {"[0, 0, 0, 1, 1, \"1\"]", "expected [xmin, ymin, zmin, xmax, ymax, zmax], finite numbers"},
        {"{}", "expected [xmin, ymin, zmin, xmax, ymax, zmax], finite numbers"},
        {"[0, 0, 2, 1, 1, 1]", "the first corner is the lower one on every axis"},
        {"[0, 0, 0, 1, 1, 1e999]", "Number too big to be stored in double."},
    };
    for (const auto& each : wrong) {
        try {
            devhost::LoadWorldText(std::string(R"({"structure": [{"name": "r", "children": [{"name": "a", "box": )") +
                                   each.box + "}]}]}");
            ADD_FAILURE() << each.box;
        } catch (const devhost::WorldFileError& refused) {
            const std::string text = refused.what();
            EXPECT_NE(std::string::npos, text.find(each.what)) << text;
        }
    }
    try {
        devhost::LoadWorldText(R"({"structure": [{"name": "r", "children": [{"name": "a", "box": [1, 1, 1, 0, 0, 0]}]}]})");
        FAIL();
    } catch (const devhost::WorldFileError& refused) {
        EXPECT_STREQ("<text>: at /structure/0/children/0/box: the first corner is the lower one on every axis",
                     refused.what());
    }
}

TEST_F(WorldGeometry, EverySyntheticLeafIsPlacedOnAGridWithTheOneSharedBox) {
    devhost::LargeWorldParams params;
    params.instances = 111;
    params.depth = 2;
    devhost::LargeWorldInfo info;
    auto world = devhost::BuildLargeWorld(params, &info);
    auto geometry = devhost::GeometryOf(*world);
    EXPECT_EQ(100u, geometry->placements.size());
    ASSERT_EQ(1u, geometry->shapes.size());
    std::set<std::pair<float, float>> places;
    for (const auto& [id, placed] : geometry->placements) {
        EXPECT_EQ(geometry->shapes.front(), placed.shape);
        places.emplace(placed.transform[12], placed.transform[14]);
    }
    EXPECT_EQ(100u, places.size()) << "no two leaves in one place";
}

TEST_F(WorldGeometry, TheSampleDronesPartsHaveBoxes) {
    auto world = devhost::LoadDefaultSampleWorld();
    auto geometry = devhost::GeometryOf(*world);
    for (const char* part : {"drone/frame/arm_1", "drone/propulsion/motor_3/rotor", "drone/electronics/battery"})
        EXPECT_NE(nullptr, geometry->Find(IdOf(*world, part))) << part;
}

}  // namespace
