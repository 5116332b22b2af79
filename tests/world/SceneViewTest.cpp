#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <set>
#include <thread>

#include "TestWorlds.h"
#include "WorldTestSupport.h"
#include "basicnav/ShapeViewFlyToData.h"
#include "devhost/platform/Faults.h"
#include "qxk/IllustrationView.h"
#include "qxk/ProgressEvent.h"
#include "qxk/ShapeView.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"
#include "qxmk/WebProgressEvent.h"

namespace {

class Scenes : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));
        scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("main"));
        ASSERT_TRUE(scene);
    }
    du::SmartPtr<qxk::Instance> Find(const char* path) { return qxk::World::GetWorld()->tree->FindInstance(path); }

    wtest::CleanWorld clean;
    du::SmartPtr<qxk::ShapeScene> scene;
};

class CountingObserver : public qxk::WorkflowManagerObserver {
public:
    void OnWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int value) override {
        seen.push_back(workflow.str() + ":" + message.str() + ":" + std::to_string(value));
    }
    std::vector<std::string> seen;
};

TEST_F(Scenes, UpdateGroupsNestAndTellObserversOnceAtTheOutermostEnd) {
    auto before = devhost::UpdateGroupsOf(*scene);
    int told = 0;
    std::size_t changed = 0;
    int id = devhost::AddSceneListener(*scene, [&](const std::vector<du::SmartPtr<qxk::Instance>>& c) {
        ++told;
        changed += c.size();
    });
    scene->BeginUpdateGroup();
    scene->BeginUpdateGroup();
    scene->AddShapeInstance(Find("a/sub"), qxk::ShapeScene::AM_VisibleFetch);
    scene->EndUpdateGroup();
    scene->AddShapeInstance(Find("a/sub/q1"), qxk::ShapeScene::AM_Hidden);
    EXPECT_EQ(told, 0);
    EXPECT_TRUE(scene->IsInUpdateGroup());
    scene->EndUpdateGroup();
    EXPECT_FALSE(scene->IsInUpdateGroup());
    EXPECT_EQ(told, 1);
    EXPECT_EQ(changed, 2u);
    scene->BeginUpdateGroup();
    scene->EndUpdateGroup();
    EXPECT_EQ(told, 1) << "an empty group tells nobody";
    auto groups = devhost::UpdateGroupsOf(*scene);
    EXPECT_EQ(groups.begun - before.begun, 3u);
    EXPECT_EQ(groups.ended - before.ended, 3u);
    EXPECT_EQ(groups.notifications - before.notifications, 1u);
    EXPECT_EQ(groups.depth, 0);
    devhost::RemoveSceneListener(*scene, id);
}

TEST_F(Scenes, AddShapeInstanceIsRecordedAndGivesTheShapeInstanceThereIs) {
    auto first = scene->AddShapeInstance(Find("a/sub/q1"), 2);
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->IsVisible());
    EXPECT_EQ(first->GetInstance(), Find("a/sub/q1"));
    EXPECT_EQ(first->GetScene(), scene);
    EXPECT_EQ(scene->AddShapeInstance(Find("a/sub/q1"), 0), first);
    EXPECT_FALSE(scene->AddShapeInstance(nullptr, 2));
    auto calls = devhost::AddShapeCallsOf(*scene);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].mode, 2);
    EXPECT_EQ(calls[1].mode, 0);
    std::set<du::SmartPtr<qxk::Instance>> all;
    scene->GetAllInstances(all);
    EXPECT_EQ(all.size(), 4u);
    EXPECT_TRUE(all.count(Find("a/sub/q1")));
}

// The module may still hold an instance that the host has just taken out
// of the tree.
TEST_F(Scenes, InstancesOutsideTheTreeGetNoShapeInstance) {
    auto q1 = Find("a/sub/q1");
    ASSERT_TRUE(devhost::RemoveInstanceAt("a/sub/q1"));
    EXPECT_FALSE(scene->AddShapeInstance(q1, 2));
    std::set<du::SmartPtr<qxk::Instance>> all;
    scene->GetAllInstances(all);
    EXPECT_FALSE(all.count(q1));
    du::SmartPtr<qxk::ShapeInstance> shape;
    EXPECT_FALSE(scene->GetShapeInstance(q1, shape));
    EXPECT_EQ(devhost::AddShapeCallsOf(*scene).size(), 1u) << "the call is still recorded";
}

// A scene's shape instances are kept by the instances' slots: a removal
// must leave every other instance with its own shape instance, and an
// instance that takes a gone one's slot must not inherit its shape.
TEST_F(Scenes, ARemovedInstanceTakesOnlyItsOwnShapeInstanceAlong) {
    ASSERT_TRUE(devhost::ShowInstance("main", "a/sub/q1", true));
    ASSERT_TRUE(devhost::ShowInstance("main", "a/sub", false));  // the last one made
    unsigned int count = 0;
    scene->GetNumShapeInstances(count);
    ASSERT_EQ(count, 5u);
    const std::uint32_t goneSlot = devhost::FindInstanceAt("a/p1")->slot;

    ASSERT_TRUE(devhost::RemoveInstanceAt("a/p1"));
    scene->GetNumShapeInstances(count);
    EXPECT_EQ(count, 4u);
    EXPECT_TRUE(devhost::ShapeOf("main", "a").visible);
    EXPECT_FALSE(devhost::ShapeOf("main", "a/p2").visible);
    EXPECT_EQ(devhost::ShapeOf("main", "a/p2").color.GetAsHex(), 0x11223344u);
    EXPECT_TRUE(devhost::ShapeOf("main", "a/sub/q1").visible);
    ASSERT_TRUE(devhost::ShapeOf("main", "a/sub").present);
    EXPECT_FALSE(devhost::ShapeOf("main", "a/sub").visible);
    std::set<du::SmartPtr<qxk::Instance>> all;
    scene->GetAllInstances(all);
    EXPECT_EQ(all, (std::set<du::SmartPtr<qxk::Instance>>{Find("a"), Find("a/p2"), Find("a/sub"), Find("a/sub/q1")}));

    devhost::InstanceNode* successor = devhost::AddInstanceAt("a", "p9");
    ASSERT_NE(successor, nullptr);
    ASSERT_EQ(successor->slot, goneSlot) << "the removed instance is gone and its slot free again";
    du::SmartPtr<qxk::ShapeInstance> shape;
    EXPECT_FALSE(scene->GetShapeInstance(Find("a/p9"), shape));
    EXPECT_FALSE(devhost::ShapeOf("main", "a/p9").present);
    ASSERT_TRUE(devhost::ShowInstance("main", "a/p9", false));
    EXPECT_TRUE(scene->GetShapeInstance(Find("a/p9"), shape));
    EXPECT_FALSE(shape->IsVisible());
    EXPECT_TRUE(devhost::ShapeOf("main", "a/sub/q1").visible);
}

TEST_F(Scenes, VisibilityAndColourOfShapeInstances) {
    scene->AddShapeInstance(Find("a/sub"), 2);
    scene->AddShapeInstance(Find("a/sub/q1"), 2);
    du::SmartPtr<qxk::ShapeInstance> sub;
    ASSERT_TRUE(scene->GetShapeInstance(Find("a/sub"), sub));
    sub->SetVisibility(false, true);
    EXPECT_FALSE(devhost::ShapeOf("main", "a/sub/q1").visible) << "the branch follows";
    sub->SetVisibility(true, false);
    EXPECT_FALSE(devhost::ShapeOf("main", "a/sub/q1").visible);
    EXPECT_TRUE(sub->IsVisible());
    sub->SetColor(dg::Color(0xff0000ffu), false, true);
    EXPECT_EQ(sub->GetColor().GetAsHex(), 0xff0000ffu);
    auto record = devhost::ShapeOf("main", "a/sub");
    ASSERT_EQ(record.colorCalls.size(), 1u);
    EXPECT_TRUE(record.colorCalls[0].redraw);
    EXPECT_FALSE(devhost::ShapeOf("main", "a/pm").present);
    EXPECT_EQ(dg::Color(0.0f, 0.0f, 0.0f, 1.0f).GetAsHex(), 0x000000ffu);
    EXPECT_EQ(dg::Color(1.0f, 0.5f, 2.0f, -1.0f).GetAsHex(), 0xff80ff00u);
}

TEST_F(Scenes, WorkflowsRecordMessagesAndTellTheirObservers) {
    auto view = devhost::FindViewNamed("main3d");
    du::SmartPtr<qxk::WorkflowManager> workflows;
    view->GetWorkflowManager(workflows);
    ASSERT_TRUE(workflows);
    du::SmartPtr<CountingObserver> observer(new CountingObserver());
    workflows->AddWorkflowObserver(observer);
    du::SmartPtr<basicnav::ShapeViewFlyToData> data(new basicnav::ShapeViewFlyToData());
    EXPECT_EQ(data->flyFlags, 4);
    EXPECT_EQ(data->fitFlags & 0x1f, 0);
    EXPECT_EQ(data->duration, 1.0);
    EXPECT_EQ(data->target, dg::Location());
    EXPECT_FALSE(data->instances || data->camera || data->bounds);
    EXPECT_EQ(data->viewport, 0);
    data->flyFlags |= 1;
    workflows->SendWorkflowMessage("shapeviewflyto", "MsgFlyToAll", 0, data);
    workflows->SendWorkflowMessage("graphicalnav", "direction", 3, nullptr);
    auto messages = devhost::WorkflowMessages(*view);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].workflow, "shapeviewflyto");
    EXPECT_EQ(messages[0].message, "MsgFlyToAll");
    auto sent = du::DynamicCast<basicnav::ShapeViewFlyToData>(messages[0].data);
    ASSERT_TRUE(sent);
    EXPECT_EQ(sent->flyFlags, 5);
    EXPECT_EQ(messages[1].value, 3);
    EXPECT_FALSE(messages[1].data);
    EXPECT_EQ(observer->seen, (std::vector<std::string>{"shapeviewflyto:MsgFlyToAll:0", "graphicalnav:direction:3"}));
}

TEST_F(Scenes, ViewsRecordZoomsAndCommands) {
    auto sheet = devhost::FindViewNamed("sheet");
    sheet->ZoomView(4);
    sheet->ZoomView(2);
    EXPECT_EQ(devhost::ZoomCodes(*sheet), (std::vector<int>{4, 2}));
    auto ill = du::DynamicCast<qxk::IllustrationView>(devhost::FindViewNamed("ill"));
    ASSERT_TRUE(ill);
    ill->RunViewCommand(6);
    ill->RunViewCommand(0);
    EXPECT_EQ(devhost::ViewCommands(*ill), (std::vector<int>{6, 0}));
    du::SmartPtr<qxk::Scene> sheets;
    sheet->GetScene(sheets);
    EXPECT_FALSE(du::DynamicCast<qxk::ShapeScene>(sheets));
    EXPECT_EQ(sheets->GetNumViews(), 3u);
    EXPECT_EQ(sheets->GetView(2)->GetClassNumber(), 0x4eu);
}

TEST_F(Scenes, TheApplicationSwitchesViewsAndCrossSelection) {
    auto manager = qxkapp::QxkApp::Get()->GetSceneManager();
    du::SmartPtr<qxk::World> world;
    qxkapp::QxkApp::Get()->GetWorld(world);
    EXPECT_EQ(world, qxk::World::GetWorld());
    auto sheet = devhost::FindViewNamed("sheet");
    EXPECT_TRUE(manager->SetActiveView(sheet, false));
    EXPECT_EQ(manager->GetActiveView(), sheet);
    EXPECT_FALSE(devhost::CurrentSceneManager()->activeNotified);
    auto stray = devhost::MakeView(nullptr, 0x4b, "stray", nullptr);
    EXPECT_FALSE(manager->SetActiveView(stray, true)) << "a view that the manager does not hold";
    EXPECT_EQ(manager->GetActiveView(), sheet);
    EXPECT_TRUE(devhost::ActivateView(""));
    EXPECT_FALSE(manager->GetActiveView());
    EXPECT_FALSE(devhost::ActivateView("nothing"));
    manager->EnableCrossSelection(nullptr);
    EXPECT_TRUE(devhost::CrossSelection().on);
    manager->DisableCrossSelection();
    auto cross = devhost::CrossSelection();
    EXPECT_FALSE(cross.on);
    EXPECT_EQ(cross.enables, 1u);
    EXPECT_EQ(cross.disables, 1u);
    devhost::DropApplication();
    EXPECT_EQ(qxkapp::QxkApp::Get(), nullptr);
}

TEST_F(Scenes, ViewersFinishProgressEventsAtOnceOrWhenTold) {
    wtest::Owner owner;
    class Progress : public qxk::ProgressEvent {
    public:
        Progress() : qxk::ProgressEvent(true) {}
        void OnProgress(unsigned char p) override { seen.push_back(p); }
        void OnComplete(int status) override { seen.push_back(1000 + status); }
        std::vector<int> seen;
    };
    auto view = du::DynamicCast<qxk::ShapeView>(devhost::FindViewNamed("main3d"));
    du::SmartPtr<qxk::ShapeViewer> viewer;
    view->GetViewer(viewer);
    ASSERT_TRUE(viewer);
    du::SmartPtr<Progress> quick(new Progress());
    owner.object->ManageObject(quick);
    viewer->AttachProgressEvent(quick);
    owner.Sync();
    EXPECT_EQ(quick->seen, (std::vector<int>{100, 1000}));

    devhost::SetViewerProgress(*view, devhost::ViewerProgress::Manual);
    du::SmartPtr<Progress> slow(new Progress());
    owner.object->ManageObject(slow);
    viewer->AttachProgressEvent(slow);
    EXPECT_EQ(devhost::ReportViewerProgress(*view, 30, false), 1);
    EXPECT_EQ(devhost::ReportViewerProgress(*view, 100, true), 1);
    EXPECT_EQ(devhost::ReportViewerProgress(*view, 100, true), 0);
    owner.Sync();
    EXPECT_EQ(slow->seen, (std::vector<int>{30, 100, 1000}));
    auto record = devhost::ViewerOf(*view);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->attached.size(), 2u);
    EXPECT_FALSE(devhost::ViewerOf(*devhost::FindViewNamed("sheet"))) << "only shape views have viewers";
}

TEST_F(Scenes, ProgressDisplaysAreRecorded) {
    du::SmartPtr<qxmk::WebProgressEvent> event(new qxmk::WebProgressEvent(qxmk::Progress::PT_Bar));
    event->SetPercentage(10);  // not started: nothing to move
    event->StartProgress(du::SmartPtr<qxk::Scene>(scene), "Loading the model", 1);
    event->SetPercentage(255);
    event->EndProgress();
    event->SetPercentage(20);
    auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_EQ(displays[0].text, "Loading the model");
    EXPECT_EQ(displays[0].scene, du::SmartPtr<qxk::Scene>(scene));
    EXPECT_EQ(displays[0].refreshTicks, 1);
    EXPECT_EQ(displays[0].percentages, (std::vector<int>{255}));
    EXPECT_FALSE(displays[0].running);
}

TEST_F(Scenes, ARunningDisplayUnderAnActorIsRefreshedByItsTimerAndLetGoOnceEnded) {
    wtest::Owner owner;
    du::SmartPtr<qxmk::WebProgressEvent> event(new qxmk::WebProgressEvent(qxmk::Progress::PT_Bar));
    owner.object->ManageObject(event);
    event->StartProgress(du::SmartPtr<qxk::Scene>(scene), "Loading", 1);
    // Waits for the first refresh; the test does not measure when it comes.
    for (int i = 0; i < 500 && devhost::ProgressDisplays()[0].ticks == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_GE(devhost::ProgressDisplays()[0].ticks, 1u);
    EXPECT_TRUE(event->IsManaged());
    event->EndProgress();
    owner.Sync();
    EXPECT_FALSE(devhost::ProgressDisplays()[0].running);
    EXPECT_FALSE(event->IsManaged()) << "an ended display stays with its actor for good";
}

TEST_F(Scenes, FaultsMakeOperationsFailOrThrow) {
    auto manager = qxkapp::QxkApp::Get()->GetSceneManager();
    devhost::ArmFault("qxkapp::SceneManager::GetActiveView", {devhost::FaultKind::Fail, "", 1});
    EXPECT_FALSE(manager->GetActiveView());
    EXPECT_TRUE(manager->GetActiveView()) << "the fault was armed for one hit";
    devhost::ArmFault("qxk::Tree::FindInstance", {devhost::FaultKind::ThrowStd, "no tree today", -1});
    EXPECT_THROW(qxk::World::GetWorld()->tree->FindInstance("a"), std::runtime_error);
    devhost::ArmFault("qxk::ShapeScene::GetShapeInstance", {devhost::FaultKind::Fail, "", -1});
    du::SmartPtr<qxk::ShapeInstance> shape;
    EXPECT_FALSE(scene->GetShapeInstance(devhost::FindInstanceAt("a"), shape));
    EXPECT_FALSE(shape);
}

}  // namespace
