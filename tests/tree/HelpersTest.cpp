// The helpers that the tree watcher and the scene loader share: node
// addressing, progress displays, branch collection and fly-to-all.

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "basicnav/ShapeViewFlyToData.h"
#include "devhost/platform/ActorTasks.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldControl.h"
#include "dom/ManagedObject.h"
#include "qxk/ShapeScene.h"
#include "tests/platform/TestActor.h"
#include "tree/FlyToAll.h"
#include "tree/MyShapedEnumerator.h"
#include "tree/NodeAddressing.h"
#include "tree/ProgressEvents.h"

namespace {

const char* kWorld = R"({
  "structure": [
    {"name": "a", "uid": 7, "children": [
      {"name": "b", "uid": 8, "children": [{"name": "c", "uid": 9}]},
      {"name": "px", "proxy": {"children": [{"name": "inside"}]}}
    ]}
  ],
  "scenes": [
    {"name": "main", "views": [{"name": "v", "kind": "shape"}]},
    {"name": "slow", "views": [{"name": "w", "kind": "shape", "viewerProgress": "manual"}]},
    {"name": "odd", "views": [{"name": "x", "kind": "0x4e"}]},
    {"name": "bare"}
  ],
  "activeView": "v",
  "messages": {"qxbase:qxkStrings": {"7000": "Loading the model"}}
})";

class OwnerObject : public dom::ManagedObject {};

// A managed object on an actor of its own, standing for the module as the
// owner of events.
class OwnerActor {
public:
    OwnerActor() : object(new OwnerObject()), actor_(object, "tree-test-owner") { actor_.Start(); }
    // Waits until the host worker and this actor are quiet.
    void Settle() { devhost::Settle({object}); }

    du::SmartPtr<dom::ManagedObject> object;

private:
    ptest::TestActor actor_;
};

du::SmartPtr<qxk::ShapeScene> Scene(const char* name) {
    return du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed(name));
}

TEST(NodeAddressing, TextBecomesAnIdByStreamExtraction) {
    std::uint64_t id = 0;
    EXPECT_TRUE(TextToId("12abc", id));
    EXPECT_EQ(id, 12u);
    EXPECT_TRUE(TextToId("  \t42", id));
    EXPECT_EQ(id, 42u);
    EXPECT_TRUE(TextToId("18446744073709551615", id));
    EXPECT_EQ(id, 18446744073709551615u);
    id = 5;
    EXPECT_FALSE(TextToId("18446744073709551616", id)) << "beyond 64 bits";
    EXPECT_FALSE(TextToId("abc", id));
    EXPECT_FALSE(TextToId("", id));
    EXPECT_FALSE(TextToId("   ", id));
    EXPECT_EQ(id, 5u) << "a failed conversion leaves the id alone";

    int target = 0;
    InstanceMap map{{12, reinterpret_cast<qxk::BaseInstance*>(&target)}};
    EXPECT_EQ(LookUpId(map, "12 and more"), reinterpret_cast<qxk::BaseInstance*>(&target));
    EXPECT_EQ(LookUpId(map, "13"), nullptr);
    EXPECT_EQ(LookUpId(map, "x12"), nullptr);
}

TEST(NodeAddressing, TheNearestPathIsTheDeepestExistingPrefix) {
    support::CleanProcess clean;
    EXPECT_EQ(NearestInstancePath("a/b"), du::Symbol::EMPTY) << "no world";
    ASSERT_TRUE(support::LoadWorld(kWorld));
    EXPECT_EQ(NearestInstancePath("a/b/c"), "a/b/c");
    EXPECT_EQ(NearestInstancePath("a/zz/yy"), "a");
    EXPECT_EQ(NearestInstancePath("a/px/inside"), "a/px") << "an unread branch is not in the tree";
    EXPECT_EQ(NearestInstancePath("q/r/s"), du::Symbol::EMPTY);
    EXPECT_EQ(NearestInstancePath("nothing"), du::Symbol::EMPTY);
    EXPECT_EQ(NearestInstancePath(""), du::Symbol::EMPTY);
    ASSERT_TRUE(FindInstanceAtPath("a/b"));
    EXPECT_EQ(FindInstanceAtPath("a/b")->GetUniqueId(), 8u);
    EXPECT_FALSE(FindInstanceAtPath("a/px/inside"));

    devhost::UseWorldWithoutTree();
    EXPECT_EQ(NearestInstancePath("a/b"), du::Symbol::EMPTY);
    EXPECT_FALSE(FindInstanceAtPath("a"));
}

TEST(Branches, ABranchIsCollectedWithItsStart) {
    support::CleanProcess clean;
    ASSERT_TRUE(support::LoadWorld(kWorld));
    std::set<std::string> paths;
    for (const auto& instance : MyShapedEnumerator::CollectBranch(FindInstanceAtPath("a/b").get()))
        paths.insert(instance->GetIdPath().str());
    EXPECT_EQ(paths, (std::set<std::string>{"a/b", "a/b/c"}));
    EXPECT_EQ(MyShapedEnumerator::CollectBranch(FindInstanceAtPath("a").get()).size(), 4u);
    EXPECT_TRUE(MyShapedEnumerator::CollectBranch(nullptr).empty());
}

TEST(FlyToAll, AsksTheFirstViewToTakeInTheWholeScene) {
    support::CleanProcess clean;
    ASSERT_TRUE(support::LoadWorld(kWorld));
    FlyToAll(Scene("main"));
    FlyToAll(Scene("bare"));  // no view: nothing to fly
    FlyToAll(nullptr);
    auto messages = devhost::WorkflowMessages(*devhost::FindViewNamed("v"));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].workflow, "shapeviewflyto");
    EXPECT_EQ(messages[0].message, "MsgFlyToAll");
    EXPECT_EQ(messages[0].value, 0);
    auto data = du::DynamicCast<basicnav::ShapeViewFlyToData>(messages[0].data);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->flyFlags, 5);
    EXPECT_EQ(data->fitFlags & 0x1f, 0);
    EXPECT_EQ(data->duration, 1.0);
}

TEST(LoadProgress, ADisplayStartsWithTheHostsTextAndEndsWithTheViewer) {
    support::CleanProcess clean;
    ASSERT_TRUE(support::LoadWorld(kWorld));
    OwnerActor owner;
    devhost::PostTask(owner.object, [&] {
        StartLoadProgress(Scene("main"), *owner.object);
        StartLoadProgress(Scene("bare"), *owner.object);  // no view: no display
        StartLoadProgress(nullptr, *owner.object);
    });
    owner.Settle();
    auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_EQ(displays[0].text, "Loading the model");
    EXPECT_EQ(displays[0].refreshTicks, 1);
    EXPECT_EQ(displays[0].type, qxmk::Progress::PT_Bar);
    EXPECT_EQ(displays[0].scene, du::SmartPtr<qxk::Scene>(Scene("main")));
    EXPECT_EQ(displays[0].percentages, std::vector<int>{100}) << "the viewer reports all done at once";
    EXPECT_FALSE(displays[0].running);
}

TEST(LoadProgress, ViewerReportsReachTheDisplayWhole) {
    support::CleanProcess clean;
    ASSERT_TRUE(support::LoadWorld(kWorld));
    OwnerActor owner;
    devhost::PostTask(owner.object, [&] {
        StartLoadProgress(Scene("slow"), *owner.object);
        StartLoadProgress(Scene("slow"), *owner.object);  // a second display beside the first
        StartLoadProgress(Scene("odd"), *owner.object);   // no shape viewer: the display runs on
        StartShapeViewLoadProgress(Scene("odd"), *owner.object);  // not a shape view: no display
        StartShapeViewLoadProgress(Scene("bare"), *owner.object);
        StartShapeViewLoadProgress(nullptr, *owner.object);
    });
    owner.Settle();
    const qxk::View& view = *devhost::FindViewNamed("w");
    EXPECT_EQ(devhost::ReportViewerProgress(view, 255, false), 2);
    owner.Settle();
    EXPECT_EQ(devhost::ReportViewerProgress(view, 30, true), 2);
    owner.Settle();
    auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 3u);
    for (int i : {0, 1}) {
        EXPECT_EQ(displays[i].percentages, (std::vector<int>{255, 30})) << "255 stays 255";
        EXPECT_FALSE(displays[i].running);
    }
    EXPECT_TRUE(displays[2].running);
}

TEST(LoadProgress, OnlyAShapeViewGetsTheLoadersDisplay) {
    support::CleanProcess clean;
    ASSERT_TRUE(support::LoadWorld(kWorld));
    OwnerActor owner;
    devhost::PostTask(owner.object, [&] { StartShapeViewLoadProgress(Scene("slow"), *owner.object); });
    owner.Settle();
    const qxk::View& view = *devhost::FindViewNamed("w");
    EXPECT_EQ(devhost::ReportViewerProgress(view, 40, true), 1);
    owner.Settle();
    auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_EQ(displays[0].percentages, std::vector<int>{40});
    EXPECT_FALSE(displays[0].running);
}

TEST(LoadProgress, AForwarderWithNoDisplayIgnoresReports) {
    support::CleanProcess clean;
    OwnerActor owner;
    du::SmartPtr<ProgressEvent> forwarder(new ProgressEvent(nullptr));
    owner.object->ManageObject(forwarder);
    forwarder->Progress(50);
    forwarder->Complete();
    owner.Settle();
    EXPECT_EQ(forwarder->Status(), qxk::BaseAsyncEvent::ES_Ok);
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
}

}  // namespace
