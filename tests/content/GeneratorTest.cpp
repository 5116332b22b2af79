// The generator of large worlds, at a size a unit test can afford.

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/samples/PngEncoder.h"
#include "TestWorlds.h"
#include "devhost/world/WorldControl.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/BaseTree.h"
#include "qxk/Instance.h"
#include "qxk/Shape.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"

TEST(Generator, BuildsTheAskedNumberWithDepthFanOutAndShareOfProxies) {
    support::CleanProcess clean;
    ctest::TempFolder folder;
    devhost::LargeWorldParams params;
    params.instances = 1000;
    params.depth = 3;
    params.fanOut = 10;
    params.proxyShare = 0.25;
    params.viewableEvery = 10;
    params.folder = folder.Path();
    devhost::LargeWorldInfo info;
    auto world = devhost::BuildLargeWorld(params, &info);
    EXPECT_EQ(1000u, info.instances);
    // 99 assemblies below the root: the ten of level 1 and the 89 of level 2
    // that the thousand instances reach; a quarter of them are proxies.
    EXPECT_EQ(24u, info.proxies);
    EXPECT_GT(info.unread, 0u);
    EXPECT_EQ(99u / 10u, info.viewables);

    auto leaf = world->tree->FindInstance("product/n0/n0/n0");
    ASSERT_TRUE(leaf);
    EXPECT_FALSE(world->tree->FindInstance("product/n0/n0/n0/n0"));
    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    unsigned int shown = 0;
    scene->GetNumShapeInstances(shown);
    EXPECT_EQ(info.shapeInstances, shown);
    EXPECT_LT(shown, 900u);  // the leaves, less those still unread
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    ASSERT_TRUE(scene->GetShapeInstance(leaf, shapeInstance));
    du::SmartPtr<qxk::Shape> shape;
    shapeInstance->GetShape(shape);
    EXPECT_TRUE(shape);

    auto assembly = world->tree->FindInstance("product/n0/n9");
    du::SmartPtr<qxk::ComponentNode> component;
    assembly->GetComponentNode(component);
    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    component->GetViewableSources(sources);
    ASSERT_EQ(1u, sources.size());
    EXPECT_FALSE(du::DynamicCast<qxk::Illustration3dSource>(sources[0])->GetThumbnailSource().IsNull());
}

// Which instances a count reaches is decided level by level; they are made
// depth first, as a viewer reading a product structure makes them, so that
// a walk of the tree meets them in the order of their ids.
TEST(Generator, FillsLevelByLevelAndMakesEachBranchInTurn) {
    support::CleanProcess clean;
    devhost::LargeWorldParams params;
    params.instances = 1000;
    params.depth = 3;
    params.fanOut = 10;
    auto world = devhost::BuildLargeWorld(params);
    // 111 instances down to level 2, then 889 children: ten each for the
    // first 88 assemblies of level 2 and nine for the 89th.
    EXPECT_TRUE(world->tree->FindInstance("product/n8/n7/n9"));
    EXPECT_TRUE(world->tree->FindInstance("product/n8/n8/n8"));
    EXPECT_FALSE(world->tree->FindInstance("product/n8/n8/n9"));
    EXPECT_FALSE(world->tree->FindInstance("product/n8/n9/n0"));
    EXPECT_TRUE(world->tree->FindInstance("product/n9/n9"));

    struct Walk : qxk::BaseInstanceVisitor {
        std::vector<std::uint64_t> ids;
        bool Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int) override {
            ids.push_back(instance->GetUniqueId());
            return true;
        }
    } walk;
    world->tree->Visit(walk, qxk::BaseTree::VT_DepthFirst);
    ASSERT_EQ(walk.ids.size(), 1000u);
    for (std::size_t i = 1; i < walk.ids.size(); ++i) ASSERT_EQ(walk.ids[i], walk.ids[i - 1] + 1) << i;
}

TEST(Generator, StopsAtWhatDepthAndFanOutCanHold) {
    support::CleanProcess clean;
    devhost::LargeWorldParams params;
    params.instances = 1000000;
    params.depth = 2;
    params.fanOut = 3;
    devhost::LargeWorldInfo info;
    devhost::BuildLargeWorld(params, &info);
    EXPECT_EQ(13u, info.instances);
    EXPECT_EQ(9u, info.shapeInstances);
}

TEST(PngEncoder, WritesASignatureHeaderAndStoredBlocksOfTheRightLength) {
    devhost::RgbImage image(300, 300);  // more than one stored block of data
    image.Set(299, 299, 1, 2, 3);
    std::string png = devhost::EncodePng(image);
    ASSERT_GT(png.size(), 300u * 300u * 3u);
    EXPECT_EQ(std::string("\x89PNG\r\n\x1a\n", 8), png.substr(0, 8));
    EXPECT_EQ("IHDR", png.substr(12, 4));
    EXPECT_EQ("IEND", png.substr(png.size() - 8, 4));
}
