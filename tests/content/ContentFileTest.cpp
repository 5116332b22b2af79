// Content sections as world files give them: mistakes named with their
// place, and what instances carry.

#include <atomic>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "TestWorlds.h"
#include "WorldFile.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldFile.h"
#include "qxk/AsyncEvent.h"
#include "qxk/IdMap.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"
#include "qxk/World.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace {

std::string LoadError(const std::string& sections) {
    try {
        const support::WorldFile file(ctest::SmallWorld(sections));
        return "";
    } catch (const devhost::WorldFileError& e) {
        return e.what();
    }
}

}  // namespace

TEST(ContentFile, MistakesAreReportedWithTheirPlace) {
    support::CleanProcess clean;
    EXPECT_NE(std::string::npos,
              LoadError(R"(, "geometry": { "g": { "bodies": [ { "kind": "body", "id": "b", "children": [
                  { "kind": "fase", "id": "f" } ] } ] } })")
                  .find("at /geometry/g/bodies/0/children/0/kind: unknown kind \"fase\""));
    EXPECT_NE(std::string::npos,
              LoadError(R"(, "geometry": { "g": { "bodies": [ { "kind": "body", "id": "b", "children": [
                  { "kind": "face", "id": "b" } ] } ] } })")
                  .find("id \"b\" is used twice"));
    EXPECT_NE(std::string::npos, LoadError(R"(, "modules": { "cad": true })").find("at /modules/cad"));
    EXPECT_NE(std::string::npos,
              LoadError(R"(, "components": { "car/body": { "shape": "nothing" } })").find("at /components/car/body/shape"));
    EXPECT_NE(std::string::npos, LoadError(R"(, "loader": { "fetches": { "a": "later" } })").find("unknown fetch mode"));
    EXPECT_NE(std::string::npos,
              LoadError(R"(, "selection": [ { "scene": "Model", "items": [ { "fields": {} } ] } ])")
                  .find("at /selection/0/items/0: missing \"contentType\""));
    EXPECT_FALSE(devhost::CurrentWorld());  // a file with a mistake publishes nothing
    EXPECT_NE(std::string::npos, LoadError(R"(, "components": { "car/roof": {} })")
                                     .find("at /components/car/roof: no instance has the idpath \"car/roof\""));
    EXPECT_EQ("", LoadError(R"(, "components": { "car/trailer/axle": {} })"));  // unread, but there
    EXPECT_NE(std::string::npos, LoadError(R"(, "selection": [ { "scene": "Garage", "items": [] } ])")
                                     .find("at /selection/0/scene: no scene is named \"Garage\""));
    EXPECT_NE(std::string::npos, LoadError(R"(, "annotationSets": [ { "name": "s", "shapes": [ 3 ] } ])")
                                     .find("at /annotationSets/0/shapes/0: must be an idpath or an object"));
    EXPECT_NE(std::string::npos, LoadError(R"(, "annotationSets": [ { "name": "s", "held": "yes" } ])")
                                     .find("at /annotationSets/0/held: must be true or false"));
    EXPECT_NE(std::string::npos, LoadError(R"(, "viewableSets": { "v": { "car/body": [ { "kind": "film" } ] } })")
                                     .find("at /viewableSets/v/car/body/0"));
}

TEST(ContentFile, InstancesMayLackAnchorOrComponentAndOthersHaveTheWorldsAnchor) {
    support::CleanProcess clean;
    auto world = devhost::LoadDefaultSampleWorld();
    auto esc = world->tree->FindInstance("drone/electronics/esc_board");
    du::SmartPtr<qxk::Anchor> anchor;
    esc->GetAnchor(anchor);
    EXPECT_FALSE(anchor);
    du::SmartPtr<qxk::ComponentNode> component;
    esc->GetComponentNode(component);
    EXPECT_FALSE(component);

    auto bolt = world->tree->FindInstance("drone/frame/fasteners/bolt_1");
    bolt->GetAnchor(anchor);
    EXPECT_TRUE(anchor);
    du::Symbol url;
    EXPECT_FALSE(anchor->GetURLForFileSource("../secrets.png", url, false));
    bolt->GetComponentNode(component);
    ASSERT_TRUE(component);
    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    component->GetViewableSources(sources);
    EXPECT_TRUE(sources.empty());

    devhost::ArmFault("qxk::Instance::GetComponentNode", {devhost::FaultKind::Fail, "", 1});
    bolt->GetComponentNode(component);
    EXPECT_FALSE(component);
}

TEST(ContentFile, AnInstanceOfAnUnreadBranchHasItsContentOnceRead) {
    support::CleanProcess clean;
    const support::WorldFile file(ctest::SmallWorld(R"(, "components": { "car/trailer/axle": {
        "viewables": [ { "kind": "plain", "name": "Axle drawing", "type": "drawing" } ] } })"));
    const auto& world = file.World();
    EXPECT_FALSE(world->tree->FindInstance("car/trailer/axle"));

    struct Read : qxk::AsyncEvent {
        void OnComplete(int completion) override { status = completion; }
        std::atomic<int> status{-1};
    };
    du::SmartPtr<Read> read(new Read);
    ASSERT_TRUE(world->tree->FindInstance("car/trailer")->ExpandProxy(1, read.get(), nullptr, nullptr, nullptr, false,
                                                                      false));
    devhost::DrainHostWorker();
    ASSERT_EQ(0, read->status);
    auto axle = world->tree->FindInstance("car/trailer/axle");
    ASSERT_TRUE(axle);
    du::SmartPtr<qxk::ComponentNode> component;
    axle->GetComponentNode(component);
    ASSERT_TRUE(component);
    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    component->GetViewableSources(sources);
    ASSERT_EQ(1u, sources.size());
    EXPECT_EQ("Axle drawing", sources[0]->GetDisplayName().str());
}

TEST(ContentFile, RestoringFigureVisibilityShowsEveryShapeInstanceOfAnIllustrationScene) {
    support::CleanProcess clean;
    const support::WorldFile file(ctest::SmallWorld(R"(, "annotationSets": [ { "name": "Steps", "scene": "illustration3d" } ])"));
    const auto& world = file.World();
    auto manager = qxkapp::QxkApp::Get()->GetSceneManager();
    du::SmartPtr<qxk::AnnoSetTableEntry> entry;
    ASSERT_TRUE(world->GetAnnoSetTable()->GetAnnotationEntry("Steps", qxk::AnnoSetContentAll, entry));
    auto scene = du::DynamicCast<qxk::illustration::Illustration3dScene>(manager->CreateScene(entry, world->tree));
    ASSERT_TRUE(scene);
    auto wheel = world->tree->FindInstance("car/wheel_left");
    auto shapeInstance = scene->AddShapeInstance(wheel, qxk::ShapeScene::AM_Hidden);
    ASSERT_TRUE(shapeInstance);
    EXPECT_FALSE(shapeInstance->IsVisible());
    scene->RestoreFigureVisibility();
    EXPECT_TRUE(shapeInstance->IsVisible());
    EXPECT_EQ(1u, devhost::CurrentContent()->RestoredFigureVisibility());
}
