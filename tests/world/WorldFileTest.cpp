#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "TestWorlds.h"
#include "WorldTestSupport.h"
#include "du/Localizer.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/DrawingView.h"
#include "qxk/IllustrationView.h"
#include "qxk/MultiRootContainer.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeView.h"
#include "qxk/Structure.h"
#include "qxk/Tree.h"
#include "qxk/Window.h"
#include "qxk/World.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace {

using wtest::CleanWorld;

// Gathers idpaths and levels of a walk.
class PathVisitor : public qxk::BaseInstanceVisitor {
public:
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int level) override {
        seen.push_back(instance->GetIdPath().str() + "@" + std::to_string(level));
        return instance->GetName() != stopAt.c_str();
    }
    std::vector<std::string> seen;
    std::string stopAt;
};

std::string LoadError(const std::string& text) {
    try {
        devhost::LoadWorldText(text, "w.json");
    } catch (const devhost::WorldFileError& e) {
        return e.what();
    }
    return "loaded";
}

TEST(WorldFile, BuildsStructureScenesViewsAndMessages) {
    CleanWorld clean;
    EXPECT_FALSE(qxk::World::GetWorld());
    EXPECT_EQ(qxkapp::QxkApp::Get(), nullptr);
    ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));

    auto world = qxk::World::GetWorld();
    ASSERT_TRUE(world);
    EXPECT_EQ(world->GetActorName(), "small");
    auto root = world->tree->FindInstance("a");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->GetUniqueId(), 100u);
    auto q1 = world->tree->FindInstance("a/sub/q1");
    ASSERT_TRUE(q1);
    EXPECT_EQ(q1->GetIdPath(), "a/sub/q1");
    EXPECT_EQ(q1->GetParent()->GetIdPath(), "a/sub");
    EXPECT_NE(q1->GetUniqueId(), root->GetUniqueId());
    EXPECT_FALSE(world->tree->FindInstance("a/px/c1")) << "unread branches are not in the tree";
    EXPECT_FALSE(world->tree->FindInstance("a/sub/q1/x"));
    EXPECT_FALSE(world->tree->FindInstance(""));
    unsigned int count = 0;
    world->tree->GetNumInstances(count);
    EXPECT_EQ(count, 9u);

    auto app = qxkapp::QxkApp::Get();
    ASSERT_NE(app, nullptr);
    auto active = app->GetSceneManager()->GetActiveView();
    ASSERT_TRUE(active);
    EXPECT_TRUE(active->IsATypeOf(qxk::ShapeView::CLASS_TYPE));
    EXPECT_TRUE(active->IsATypeOf(qxk::View::CLASS_TYPE));
    EXPECT_FALSE(active->IsATypeOf(qxk::DrawingView::CLASS_TYPE));
    du::SmartPtr<qxk::Scene> scene;
    active->GetScene(scene);
    auto shapeScene = du::DynamicCast<qxk::ShapeScene>(scene);
    ASSERT_TRUE(shapeScene);
    EXPECT_EQ(scene->GetView(0), active);
    EXPECT_FALSE(scene->GetView(1));
    unsigned int shapes = 0;
    shapeScene->GetNumShapeInstances(shapes);
    EXPECT_EQ(shapes, 3u);
    du::SmartPtr<qxk::ShapeInstance> p2;
    ASSERT_TRUE(shapeScene->GetShapeInstance(world->tree->FindInstance("a/p2"), p2));
    EXPECT_FALSE(p2->IsVisible());
    EXPECT_EQ(p2->GetColor().GetAsHex(), 0x11223344u);
    EXPECT_EQ(app->GetSceneManager()->GetScenes().size(), 2u);

    auto ill = devhost::FindViewNamed("ill");
    ASSERT_TRUE(ill);
    EXPECT_TRUE(ill->IsATypeOf(qxk::ClassType(0x34)));
    EXPECT_TRUE(du::DynamicCast<qxk::IllustrationView>(ill));
    auto ecad = devhost::FindViewNamed("ecad");
    ASSERT_TRUE(ecad);
    EXPECT_TRUE(ecad->IsATypeOf(qxk::ClassType(0x4e)));
    EXPECT_FALSE(ecad->IsATypeOf(qxk::ClassType(0x4b)));

    std::vector<du::SmartPtr<qxk::Instance>> roots;
    world->tree->GetRoots(roots);
    ASSERT_EQ(roots.size(), 1u);
    std::vector<du::SmartPtr<qxk::BaseInstance>> children;
    roots[0]->GetChildren(children);
    ASSERT_EQ(children.size(), 7u);
    EXPECT_EQ(children[2]->GetName(), "sub");
    EXPECT_EQ(world->window->GetTitle(), "small");

    std::vector<du::SmartPtr<qxk::Structure>> structures;
    world->rootContainer->GetStructures(structures);
    EXPECT_EQ(structures.size(), 1u);
    du::SmartPtr<qxk::Structure> primary;
    ASSERT_TRUE(world->rootContainer->GetPrimaryStructure(primary));
    EXPECT_EQ(primary->GetName(), "structure");
    du::SmartPtr<qxk::Tree> primaryTree;
    primary->GetTree(primaryTree);
    EXPECT_EQ(primaryTree, world->tree);

    EXPECT_EQ(du::Localizer("qxbase:qxkStrings").LocalizeMessage("7000", du::Localizer::AOF_ReturnKey),
              "Loading the model");
}

TEST(WorldFile, WalksGiveLevelsFromTheStartAndSkipRefusedBranches) {
    CleanWorld clean;
    ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));
    auto tree = qxk::World::GetWorld()->tree;

    PathVisitor fromSub;
    tree->FindInstance("a/sub")->Visit(fromSub, qxk::BaseInstance::VT_DepthFirst);
    EXPECT_EQ(fromSub.seen, (std::vector<std::string>{"a/sub@0", "a/sub/q1@1"}));

    PathVisitor all;
    all.stopAt = "sub";
    tree->Visit(all, qxk::BaseTree::VT_DepthFirst);
    EXPECT_EQ(all.seen, (std::vector<std::string>{"a@0", "a/p1@1", "a/p2@1", "a/sub@1", "a/px@1", "a/pf@1", "a/pn@1",
                                                  "a/pm@1"}));
    // A branch's walk declines the same branch, and reads no further in it.
    PathVisitor fromRoot;
    fromRoot.stopAt = "sub";
    tree->FindInstance("a")->Visit(fromRoot, qxk::BaseInstance::VT_DepthFirst);
    EXPECT_EQ(fromRoot.seen, all.seen);

    class Instances : public qxk::InstanceVisitor {
    public:
        bool VisitInstance(const du::SmartPtr<qxk::Instance>& instance) override {
            ids.push_back(instance->GetUniqueId());
            return true;
        }
        std::vector<std::uint64_t> ids;
    } instances;
    tree->FindInstance("a/sub")->Visit(instances, qxk::BaseInstance::VT_DepthFirst);
    ASSERT_EQ(instances.ids.size(), 2u);
    EXPECT_EQ(devhost::FindInstanceById(instances.ids[1]), devhost::FindInstanceAt("a/sub/q1"));
    EXPECT_FALSE(devhost::FindInstanceById(0));

    PathVisitor breadth;
    tree->Visit(breadth, qxk::BaseTree::VT_BreadthFirst);
    ASSERT_EQ(breadth.seen.size(), 9u);
    EXPECT_EQ(breadth.seen.back(), "a/sub/q1@2");
}

TEST(WorldFile, AWorldCanComeLaterAndGo) {
    CleanWorld clean;
    EXPECT_FALSE(qxk::World::GetWorld());
    auto made = devhost::MakeWorld("later");
    EXPECT_EQ(qxk::World::GetWorld(), made);
    ASSERT_TRUE(devhost::AddInstanceAt("", "r"));
    ASSERT_TRUE(devhost::AddInstanceAt("r", "k"));
    EXPECT_FALSE(devhost::AddInstanceAt("r", "k")) << "a taken name";
    EXPECT_FALSE(devhost::AddInstanceAt("nowhere", "k"));
    auto k = qxk::World::GetWorld()->tree->FindInstance("r/k");
    ASSERT_TRUE(k);
    ASSERT_TRUE(devhost::AddInstanceAt("", "s"));
    auto t = du::SmartPtr<qxk::BaseInstance>(devhost::AddInstanceAt("s", "t"));
    EXPECT_TRUE(devhost::RemoveInstanceAt("r"));
    EXPECT_FALSE(qxk::World::GetWorld()->tree->FindInstance("r/k"));
    EXPECT_EQ(k->GetIdPath(), "r/k") << "a removed instance keeps its idpath when its parent has gone";
    EXPECT_FALSE(k->GetParent());
    devhost::DropWorld();
    EXPECT_FALSE(qxk::World::GetWorld());
    EXPECT_EQ(t->GetIdPath(), "s/t") << "and so does one that outlives its world";
}

TEST(WorldFile, ReadsFromDisk) {
    CleanWorld clean;
    // Builds of several kinds may run this test at once: the file is this process's own.
    std::string path = ::testing::TempDir() + "world_file_test_" + std::to_string(::getpid()) + ".json";
    {
        std::ofstream out(path);
        out << wtest::kSmallWorld;
    }
    EXPECT_TRUE(devhost::LoadWorldFile(path));
    EXPECT_THROW(devhost::LoadWorldFile(path + ".missing"), devhost::WorldFileError);
    std::remove(path.c_str());
}

TEST(WorldFile, AnIllustrationSceneIsAShapeSceneWithItsShapesAndViews) {
    CleanWorld clean;
    ASSERT_TRUE(wtest::Load(R"({"structure": [{"name": "a", "children": [{"name": "b"}]}],
        "scenes": [{"name": "steps", "kind": "illustration3d", "shapes": ["a", {"instance": "a/b", "visible": false}],
                    "views": [{"name": "v", "kind": "illustration"}]}],
        "activeView": "v"})"));
    du::SmartPtr<qxk::Scene> scene;
    qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView()->GetScene(scene);
    ASSERT_TRUE(scene);
    EXPECT_TRUE(scene->IsATypeOf(qxk::illustration::Illustration3dScene::CLASS_TYPE));
    unsigned int count = 0;
    du::DynamicCast<qxk::ShapeScene>(scene)->GetNumShapeInstances(count);
    EXPECT_EQ(2u, count);
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "kind": "flat"}]})"),
              "w.json: at /scenes/0/kind: \"flat\" is not one of \"shape\", \"illustration3d\", \"plain\"");
}

TEST(WorldFile, WrongFilesNameThePlace) {
    CleanWorld clean;
    EXPECT_EQ(LoadError("{\"structure\": [}"), "w.json: at line 1, column 16: Invalid value.");
    EXPECT_EQ(LoadError("[]"), "w.json: at the top: expected an object");
    EXPECT_EQ(LoadError("{}"), "w.json: at the top: \"structure\" is missing");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a", "children": [{"nam": "b"}]}]})"),
              "w.json: at /structure/0/children/0/nam: unknown key \"nam\"");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a"}, {"name": "a"}]})"),
              "w.json: at /structure/1: name \"a\" is taken");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "p", "proxy": {"children": [{"name": "x"}, {"name": "x"}]}}]})"),
              "w.json: at /structure/0/proxy/children/1: name \"x\" is taken under p");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a/b"}]})"),
              "w.json: at /structure/0: instance name \"a/b\" must be non-empty and hold no \"/\"");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a", "uid": 7}, {"name": "b", "uid": "7"}]})"),
              "w.json: at /structure/1: id 7 is used twice");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a", "uid": -1}]})"),
              "w.json: at /structure/0/uid: expected an id, a non-negative integer or a text such as \"0x4e\"");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a", "proxy": {"start": "half"}}]})"),
              "w.json: at /structure/0/proxy/start: \"half\" is not one of \"unread\", \"expanded\", \"failed\", "
              "\"unexpandable\"");
    EXPECT_EQ(LoadError(R"({"structure": [{"name": "a", "proxy": {"outcome": "maybe"}}]})"),
              "w.json: at /structure/0/proxy/outcome: \"maybe\" is not one of \"expand\", \"fail\", \"never\"");
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "shapes": ["x"]}]})"),
              "w.json: at /scenes/0/shapes/0: no loaded instance has the idpath \"x\"");
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "kind": "plain",
                            "views": [{"name": "v", "kind": "shape"}]}]})"),
              "w.json: at /scenes/0/views/0/kind: a shape view needs a shape scene");
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "views": [{"name": "v", "kind": "round"}]}]})"),
              "w.json: at /scenes/0/views/0/kind: expected a view kind (\"shape\", \"drawing\", \"image\", "
              "\"document\", \"illustration\") or class number, a non-negative integer or a text such as \"0x4e\"");
    EXPECT_EQ(LoadError(R"({"structure": [], "activeView": "v"})"),
              "w.json: at /activeView: no view is named \"v\"");
    EXPECT_EQ(LoadError(R"({"structure": [], "gadgets": 1})"), "w.json: at /gadgets: unknown section \"gadgets\"");
    EXPECT_EQ(LoadError(R"({"structure": [], "messages": {"r": {"k": 1}}})"),
              "w.json: at /messages/r/k: expected a string");
    std::string deep;
    for (int i = 0; i < 1001; ++i) deep += R"({"name": "n", "children": [)";
    deep += "]}";
    for (int i = 0; i < 1000; ++i) deep += "]}";
    std::string error = LoadError(R"({"structure": [)" + deep + "]}");
    EXPECT_NE(error.find("the structure is deeper than 1000 levels"), std::string::npos) << error;
    EXPECT_NE(LoadError(std::string(100000, '[')).find("w.json: at line 1"), std::string::npos);
    EXPECT_FALSE(qxk::World::GetWorld()) << "nothing is published from a wrong file";
}

// A view may be of further classes, as a host class derived from several
// view classes is; it keeps the C++ class of its kind.
TEST(WorldFile, ViewsAreAlsoOfTheClassesListed) {
    CleanWorld clean;
    ASSERT_TRUE(wtest::Load(R"({"structure": [], "scenes": [{"name": "s", "views": [
        {"name": "both", "kind": "0x8d", "alsoOf": ["0x65", 102]},
        {"name": "shape", "kind": "shape", "alsoOf": ["illustration"]}]}]})"));
    const auto both = devhost::FindViewNamed("both");
    for (const unsigned int number : {0x8du, 0x65u, 0x66u, 0x10u})
        EXPECT_TRUE(both->IsATypeOf(qxk::ClassType(number))) << number;
    EXPECT_FALSE(both->IsATypeOf(qxk::ClassType(0x4b)));
    const auto shape = devhost::FindViewNamed("shape");
    EXPECT_TRUE(shape->IsATypeOf(qxk::IllustrationView::CLASS_TYPE));
    EXPECT_TRUE(du::DynamicCast<qxk::ShapeView>(shape));
    EXPECT_FALSE(du::DynamicCast<qxk::IllustrationView>(shape));
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "views": [
                  {"name": "v", "kind": "0x4b", "alsoOf": [0]}]}]})"),
              "w.json: at /scenes/0/views/0/alsoOf/0: class numbers go from 1 to 0xffffffff");
    EXPECT_EQ(LoadError(R"({"structure": [], "scenes": [{"name": "s", "views": [
                  {"name": "v", "kind": "0x4b", "alsoOf": "0x65"}]}]})"),
              "w.json: at /scenes/0/views/0/alsoOf: expected an array of view kinds or class numbers");
}

TEST(WorldFile, OtherSectionsGoToTheirHandlers) {
    CleanWorld clean;
    std::vector<std::string> seen;
    devhost::RegisterWorldSection("gadgets", [&](const rapidjson::Value& value, devhost::WorldBuilder& builder,
                                                 const std::string& place) {
        if (!value.IsArray()) devhost::FailAt(place, "gadgets are a list");
        seen.push_back(place + " " + std::to_string(value.Size()) + " " +
                       (builder.Find("a") ? "sees a" : "misses a"));
        builder.World().SetExtension("gadgets", new du::RefCounted());
    });
    auto world = wtest::Load(R"({"structure": [{"name": "a"}], "gadgets": [1, 2]})");
    ASSERT_TRUE(world);
    EXPECT_EQ(seen, (std::vector<std::string>{"/gadgets 2 sees a"}));
    EXPECT_TRUE(world->GetExtension("gadgets"));
    EXPECT_EQ(LoadError(R"({"structure": [], "gadgets": 3})"), "w.json: at /gadgets: gadgets are a list");
    devhost::UnregisterWorldSection("gadgets");
}

}  // namespace
