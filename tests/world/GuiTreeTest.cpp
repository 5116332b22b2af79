#include <gtest/gtest.h>

#include <memory>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <future>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "WorldTestSupport.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/TreeModel.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldModel.h"
#include "guitree/GuiTree.h"
#include "guitree/StructureTreeState.h"
#include "guitree/VisAndIconChanges.h"
#include "qxk/IdMap.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

// Two shape scenes over one structure: "left" shows a branch, "right" is empty.
const char* kTreeWorld = R"({
  "structure": [
    {"name": "a", "children": [
      {"name": "p1"},
      {"name": "p2"},
      {"name": "sub", "children": [{"name": "q1"}, {"name": "q2"}]},
      {"name": "px", "proxy": {"children": [{"name": "c1"}]}}
    ]}
  ],
  "scenes": [
    {"name": "left", "shapes": ["a", "a/p1", "a/p2", "a/sub/q1", "a/sub/q2"], "views": [{"name": "l", "kind": "shape"}]},
    {"name": "right", "views": [{"name": "r", "kind": "shape"}]}
  ],
  "activeView": "l"
})";

class TreeModel : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(wtest::Load(kTreeWorld));
        tree = new guitree::GuiTree(owner.object);
        tree->SetTreeState(new guitree::StructureTreeState(*tree, true));
        tree->SetGuiInterface(&gui);
    }
    void TearDown() override {
        owner.Sync();
        tree->Close();
        tree->SetGuiInterface(nullptr);
    }

    void Initialise() {
        tree->Initialise(qxk::World::GetWorld());
        owner.Sync();
    }
    int State(const char* path) {
        return tree->GetTreeState()->GetVisibilityState(qxk::World::GetWorld()->tree->FindInstance(path));
    }
    bool AllOnOwnersThread() {
        auto calls = gui.Calls();
        return std::all_of(calls.begin(), calls.end(),
                           [&](const wtest::GuiCall& c) { return c.thread == owner.ThreadId(); });
    }

    wtest::CleanWorld clean;
    wtest::Owner owner;
    wtest::RecordingGui gui;
    du::SmartPtr<guitree::GuiTree> tree;
};

TEST_F(TreeModel, InitialiseCreatesEveryInstanceOnTheOwnersThread) {
    EXPECT_TRUE(gui.listener) << "the interface has its listener as soon as it is installed";
    EXPECT_FALSE(tree->GetBaseTree());
    Initialise();
    EXPECT_EQ(tree->GetBaseTree(), du::SmartPtr<qxk::BaseTree>(qxk::World::GetWorld()->tree));
    auto names = gui.Names();
    std::vector<std::string> expected{"StartTreeUpdate",       "InstanceCreate a",       "InstanceCreate a/p1",
                                      "InstanceCreate a/p2",    "InstanceCreate a/sub",   "InstanceCreate a/sub/q1",
                                      "InstanceCreate a/sub/q2", "InstanceCreate a/px",   "FinishTreeUpdate",
                                      "UpdateVisAndTypeIcons"};
    EXPECT_EQ(names, expected);
    EXPECT_TRUE(AllOnOwnersThread());
    EXPECT_EQ(gui.LastState("a"), guitree::VS_VisSomeChdrnVis);
    EXPECT_EQ(gui.LastState("a/sub"), guitree::VS_NotVisAllChdrnVis);
    EXPECT_EQ(gui.LastState("a/px"), guitree::VS_NotVisNoChdrnVis);
}

TEST_F(TreeModel, ChangesOfTheTreeArriveAsUpdates) {
    Initialise();
    gui.Clear();
    devhost::AddInstanceAt("a/sub", "q3");
    devhost::RemoveInstanceAt("a/p2");
    owner.Sync();
    auto names = gui.Names();
    ASSERT_GE(names.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 6),
              (std::vector<std::string>{"StartTreeUpdate", "InstanceCreate a/sub/q3", "FinishTreeUpdate",
                                        "UpdateVisAndTypeIcons", "StartTreeUpdate", "InstanceRemove a/p2"}));
    EXPECT_EQ(gui.LastState("a/sub"), guitree::VS_NotVisSomeChdrnVis) << "q3 has no shape";
    EXPECT_EQ(gui.LastState("a"), 0) << "a state that did not change is not reported again";
    EXPECT_EQ(State("a"), guitree::VS_VisSomeChdrnVis);
    EXPECT_TRUE(AllOnOwnersThread());
}

TEST_F(TreeModel, SeveralInstancesChangedAtOnceArriveAsOneUpdate) {
    Initialise();
    gui.Clear();
    devhost::InstancesChange change =
        devhost::ChangeInstances({"a/p2", "a/sub"}, {{"a", "n"}, {"a/n", "m"}, {"a/p1", "k"}});
    ASSERT_TRUE(change.done) << change.failure;
    ASSERT_EQ(change.added.size(), 3u);
    EXPECT_EQ(change.added[1]->IdPath(), "a/n/m");
    owner.Sync();
    auto names = gui.Names();
    ASSERT_GE(names.size(), 9u);
    EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 9),
              (std::vector<std::string>{"StartTreeUpdate", "InstanceRemove a/p2", "InstanceRemove a/sub",
                                        "InstanceRemove a/sub/q1", "InstanceRemove a/sub/q2", "InstanceCreate a/n",
                                        "InstanceCreate a/n/m", "InstanceCreate a/p1/k", "FinishTreeUpdate"}));
    EXPECT_EQ(std::count(names.begin(), names.end(), "StartTreeUpdate"), 1);
    EXPECT_FALSE(devhost::ShapeOf("left", "a/p2").present) << "a removed instance leaves its scenes";
}

TEST_F(TreeModel, AChangeOfSeveralInstancesIsAllOrNothing) {
    Initialise();
    gui.Clear();
    struct Case {
        std::vector<std::string> removals;
        std::vector<devhost::NewInstance> additions;
        std::string failure;
    };
    const Case cases[] = {
        {{"a/p1", "a/none"}, {{"a", "n"}}, "no instance \"a/none\""},
        {{}, {{"a", "n"}, {"a/n", "m"}, {"a", "n"}}, "cannot add \"n\" under \"a\""},
        {{"a/sub"}, {{"a", "n"}, {"a/sub/q1", "x"}}, "cannot add \"x\" under \"a/sub/q1\""},
        {{"a/p1"}, {{"a", "p1"}}, "cannot add \"p1\" under \"a\""},
        {{}, {{"a", "n"}, {"a/missing", "x"}}, "cannot add \"x\" under \"a/missing\""},
        {{}, {{"a", "n/m"}}, "cannot add \"n/m\" under \"a\""},
    };
    for (const Case& each : cases) {
        devhost::InstancesChange change = devhost::ChangeInstances(each.removals, each.additions);
        EXPECT_FALSE(change.done);
        EXPECT_EQ(change.failure, each.failure);
        EXPECT_TRUE(change.added.empty());
    }
    EXPECT_FALSE(devhost::FindInstanceAt("a/n"));
    EXPECT_TRUE(devhost::FindInstanceAt("a/p1"));
    EXPECT_TRUE(devhost::FindInstanceAt("a/sub/q1"));
    unsigned count = 0;
    qxk::World::GetWorld()->tree->GetNumInstances(count);
    EXPECT_EQ(count, 7u);
    owner.Sync();
    EXPECT_TRUE(gui.Names().empty()) << "a change undone is never told";
}

TEST_F(TreeModel, AReadProxyBringsItsBranchIntoTheTree) {
    Initialise();
    gui.Clear();
    qxk::World::GetWorld()->tree->FindInstance("a/px")->ExpandProxy(1, nullptr, du::SmartPtr<qxk::IdMap>(),
                                                                      du::SmartPtr<qxk::IdMap>(), nullptr, false,
                                                                      false);
    owner.Sync();
    auto names = gui.Names();
    ASSERT_GE(names.size(), 3u);
    EXPECT_EQ(names[1], "InstanceCreate a/px/c1");
    EXPECT_EQ(names[2], "FinishTreeUpdate");
}

TEST_F(TreeModel, VisibilityStatesFollowABranchAsItIsHiddenAndShown) {
    Initialise();
    EXPECT_EQ(State("a/sub"), guitree::VS_NotVisAllChdrnVis);
    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("left"));
    auto world = qxk::World::GetWorld();
    du::SmartPtr<qxk::ShapeInstance> q1;
    ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("a/sub/q1"), q1));

    scene->BeginUpdateGroup();
    q1->SetVisibility(false, false);
    scene->BeginUpdateGroup();
    scene->AddShapeInstance(world->tree->FindInstance("a/sub"), 2);
    scene->EndUpdateGroup();
    owner.Sync();
    gui.Clear();
    EXPECT_EQ(State("a/sub"), guitree::VS_VisSomeChdrnVis) << "the model answers at once";
    scene->EndUpdateGroup();
    owner.Sync();
    EXPECT_EQ(gui.Names(), (std::vector<std::string>{"UpdateVisAndTypeIcons"})) << "one report for the group";
    EXPECT_EQ(gui.LastState("a/sub"), guitree::VS_VisSomeChdrnVis);
    EXPECT_EQ(gui.LastState("a/sub/q1"), guitree::VS_NotVisNoChdrnVis);

    du::SmartPtr<qxk::ShapeInstance> sub;
    scene->GetShapeInstance(world->tree->FindInstance("a/sub"), sub);
    sub->SetVisibility(false, true);
    owner.Sync();
    EXPECT_EQ(gui.LastState("a/sub"), guitree::VS_NotVisNoChdrnVis);
    EXPECT_EQ(State("a"), guitree::VS_VisSomeChdrnVis);
    sub->SetVisibility(true, true);
    owner.Sync();
    EXPECT_EQ(gui.LastState("a/sub"), guitree::VS_VisAllChdrnVis);
    EXPECT_EQ(gui.LastState("a/sub/q2"), guitree::VS_VisNoChdrnVis);
    EXPECT_EQ(State("a/px"), guitree::VS_NotVisNoChdrnVis);

    du::SmartPtr<qxk::ShapeInstance> a;
    scene->GetShapeInstance(world->tree->FindInstance("a"), a);
    a->SetVisibility(false, false);
    owner.Sync();
    EXPECT_EQ(gui.LastState("a"), guitree::VS_NotVisSomeChdrnVis);

    EXPECT_TRUE(devhost::SetVisibilityOverride("a/p1", guitree::VS_VisPartlyVis));
    EXPECT_EQ(State("a/p1"), guitree::VS_VisPartlyVis);
    EXPECT_TRUE(AllOnOwnersThread());
}

// The model keeps the counts of each branch between questions; every kind
// of change must be seen by the next question, also for a branch asked
// about just before it.
TEST_F(TreeModel, AnAnswerFollowsEveryChangeMadeSinceTheLastQuestion) {
    Initialise();
    auto ask = [&] { return std::make_pair(State("a"), State("a/sub")); };
    using guitree::VS_NotVisAllChdrnVis;
    using guitree::VS_VisAllChdrnVis;
    using guitree::VS_VisSomeChdrnVis;
    using States = std::pair<int, int>;
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, VS_NotVisAllChdrnVis));

    ASSERT_TRUE(devhost::ShowInstance("left", "a/sub", true));  // new shape instances
    ASSERT_TRUE(devhost::ShowInstance("left", "a/px", true));
    EXPECT_EQ(ask(), States(VS_VisAllChdrnVis, VS_VisAllChdrnVis));

    ASSERT_TRUE(devhost::ShowInstance("left", "a/sub/q1", false));  // one hidden
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, VS_VisSomeChdrnVis));

    ASSERT_TRUE(devhost::RemoveInstanceAt("a/sub/q1"));  // with its shape instance
    EXPECT_EQ(ask(), States(VS_VisAllChdrnVis, VS_VisAllChdrnVis));

    ASSERT_NE(devhost::AddInstanceAt("a/sub", "q3"), nullptr);  // shown in no scene
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, VS_VisSomeChdrnVis));

    ASSERT_TRUE(devhost::SetVisibilityOverride("a/sub", 12));
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, 12));
    ASSERT_TRUE(devhost::ClearVisibilityOverride("a/sub"));
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, VS_VisSomeChdrnVis));

    ASSERT_TRUE(devhost::ActivateView("r"));  // the tree follows the empty scene
    owner.Sync();
    EXPECT_EQ(ask(), States(guitree::VS_NotVisNoChdrnVis, guitree::VS_NotVisNoChdrnVis));
    ASSERT_TRUE(devhost::ActivateView("l"));
    owner.Sync();
    EXPECT_EQ(ask(), States(VS_VisSomeChdrnVis, VS_VisSomeChdrnVis));
}

TEST_F(TreeModel, SwitchingTheActiveViewReportsTheNewScenesStates) {
    Initialise();
    gui.Clear();
    ASSERT_TRUE(devhost::ActivateView("r"));
    owner.Sync();
    auto names = gui.Names();
    EXPECT_EQ(names, (std::vector<std::string>{"ActiveViewChanged", "UpdateVisAndTypeIconVisibleChanges"}));
    EXPECT_EQ(gui.LastState("a"), guitree::VS_NotVisNoChdrnVis);
    EXPECT_EQ(State("a/p1"), guitree::VS_NotVisNoChdrnVis);
}

TEST_F(TreeModel, ANamedSceneWinsAndAGoneWorldClearsTheTree) {
    gui.listener->OnScene(devhost::FindSceneNamed("right"));
    Initialise();
    EXPECT_EQ(State("a/p1"), guitree::VS_NotVisNoChdrnVis);
    gui.Clear();
    devhost::DropWorld();
    owner.Sync();
    EXPECT_EQ(gui.Names(), (std::vector<std::string>{"ClearTree"}));
}

TEST_F(TreeModel, AClosedTreeSaysNothingMore) {
    Initialise();
    tree->Close();
    gui.Clear();
    devhost::AddInstanceAt("a", "late");
    devhost::ShowInstance("left", "a/p2", false);
    owner.Sync();
    EXPECT_TRUE(gui.Calls().empty());
}

// What the interface believes the tree holds, from the calls it was given.
std::set<std::string> Mirror(wtest::RecordingGui& gui) {
    std::set<std::string> held;
    for (const auto& call : gui.Calls()) {
        if (call.what == "InstanceCreate") held.insert(call.path);
        if (call.what == "InstanceRemove") held.erase(call.path);
    }
    return held;
}

// Two changes made on two threads may reach the tree's listener in the
// other order; the interface must still end up with what the tree holds,
// never with an instance that has left (it keeps plain pointers to them).
TEST_F(TreeModel, ALateAdditionDoesNotBringBackAnInstanceThatLeft) {
    std::promise<void> held;
    std::promise<void> release;
    auto releaseDone = release.get_future().share();
    std::atomic<bool> armed{true};
    int blocker = devhost::Model(*qxk::World::GetWorld()).Tree().AddListener([&](const devhost::TreeChange& change) {
        if (!armed || change.added.empty() || change.added[0]->GetIdPath().str() != "a/x") return;
        armed = false;
        held.set_value();
        releaseDone.wait();
    });
    Initialise();
    std::thread adder([] { devhost::AddInstanceAt("a", "x"); });
    held.get_future().wait();  // a/x is in the tree; its listeners have not heard yet
    ASSERT_TRUE(qxk::World::GetWorld()->tree->FindInstance("a/x")) << "a walk of the tree now finds it";
    ASSERT_TRUE(devhost::RemoveInstanceAt("a/x"));
    owner.Sync();
    release.set_value();
    adder.join();
    owner.Sync();
    devhost::Model(*qxk::World::GetWorld()).Tree().RemoveListener(blocker);
    EXPECT_EQ(Mirror(gui), (std::set<std::string>{"a", "a/p1", "a/p2", "a/sub", "a/sub/q1", "a/sub/q2", "a/px"}));
    auto names = gui.Names();
    EXPECT_EQ(std::count(names.begin(), names.end(), "InstanceRemove a/x"), 1)
        << "whoever found it by walking the tree hears that it left";
    EXPECT_TRUE(AllOnOwnersThread());
}

// A child whose change arrives before its parent's is told after the parent.
TEST_F(TreeModel, AnInstanceIsToldAfterItsParent) {
    std::promise<void> held;
    std::promise<void> release;
    auto releaseDone = release.get_future().share();
    std::atomic<bool> armed{true};
    int blocker = devhost::Model(*qxk::World::GetWorld()).Tree().AddListener([&](const devhost::TreeChange& change) {
        if (!armed || change.added.empty() || change.added[0]->GetIdPath().str() != "a/y") return;
        armed = false;
        held.set_value();
        releaseDone.wait();
    });
    Initialise();
    gui.Clear();
    std::thread adder([] { devhost::AddInstanceAt("a", "y"); });
    held.get_future().wait();
    ASSERT_TRUE(devhost::AddInstanceAt("a/y", "z"));
    owner.Sync();
    release.set_value();
    adder.join();
    owner.Sync();
    devhost::Model(*qxk::World::GetWorld()).Tree().RemoveListener(blocker);
    auto names = gui.Names();
    auto y = std::find(names.begin(), names.end(), "InstanceCreate a/y");
    auto z = std::find(names.begin(), names.end(), "InstanceCreate a/y/z");
    ASSERT_NE(y, names.end());
    ASSERT_NE(z, names.end());
    EXPECT_LT(y - names.begin(), z - names.begin()) << "a/y before a/y/z";
    EXPECT_EQ(std::count(names.begin(), names.end(), "InstanceCreate a/y"), 1);
}

TEST_F(TreeModel, WithoutVisibilityTheStateIsUnknown) {
    guitree::StructureTreeState blind(*tree, false);
    Initialise();
    EXPECT_EQ(blind.GetVisibilityState(qxk::World::GetWorld()->tree->FindInstance("a")), guitree::VS_Num);
}

}  // namespace

namespace {

class Anchor : public dom::ManagedObject {};

// Once the owner's actor has ended, changes of the world reach the
// interface no more, on any thread.
TEST(TreeModelOwner, AnOwnerWhoseActorHasEndedHearsNothingMore) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(kTreeWorld));
    du::SmartPtr<dom::ManagedObject> anchor(new Anchor());
    auto actor = std::make_unique<ptest::TestActor>(anchor, "tree-owner-ended");
    actor->Start();
    wtest::RecordingGui gui;
    du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(anchor));
    tree->SetGuiInterface(&gui);
    actor.reset();
    tree->Initialise(qxk::World::GetWorld());
    devhost::AddInstanceAt("a", "late");
    devhost::DrainHostWorker();
    EXPECT_TRUE(gui.Calls().empty());
    tree->Close();
    tree->SetGuiInterface(nullptr);
}

// An owner that lets go of its tree model's interface through its own
// destructor must be able to die while the tree is open.
class CountedOwner : public dom::ManagedObject {
public:
    explicit CountedOwner(bool& gone) : gone_(gone) {}
    ~CountedOwner() override { gone_ = true; }

private:
    bool& gone_;
};

TEST(TreeModelOwner, TheTreeDoesNotKeepItsOwnerAlive) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(kTreeWorld));
    bool gone = false;
    du::SmartPtr<dom::ManagedObject> owner(new CountedOwner(gone));
    du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(owner));
    owner = nullptr;
    EXPECT_TRUE(gone);
    wtest::RecordingGui gui;
    tree->SetGuiInterface(&gui);
    tree->Initialise(qxk::World::GetWorld());
    EXPECT_EQ(gui.Names(), std::vector<std::string>{}) << "nobody is left to tell";
    tree->SetGuiInterface(nullptr);
}

}  // namespace

namespace {

// Any integer can be forced as a state, and tree models hear of it as of a
// visibility change.
TEST_F(TreeModel, AnOverrideTakesAnyIntegerAndIsReported) {
    Initialise();
    gui.Clear();
    ASSERT_TRUE(devhost::SetVisibilityOverride("a/p1", 0));
    owner.Sync();
    EXPECT_EQ(State("a/p1"), 0);
    EXPECT_EQ(gui.Names(), std::vector<std::string>{"UpdateVisAndTypeIcons"});
    EXPECT_EQ(gui.LastState("a/p1"), 0);
    ASSERT_TRUE(devhost::SetVisibilityOverride("a/p1", 12));
    owner.Sync();
    EXPECT_EQ(State("a/p1"), 12);
    EXPECT_EQ(gui.LastState("a/p1"), 12);
    ASSERT_TRUE(devhost::ClearVisibilityOverride("a/p1"));
    owner.Sync();
    EXPECT_EQ(State("a/p1"), guitree::VS_VisNoChdrnVis);
    EXPECT_EQ(gui.LastState("a/p1"), guitree::VS_VisNoChdrnVis);
    EXPECT_FALSE(devhost::SetVisibilityOverride("a/nothing", 3));
    EXPECT_TRUE(AllOnOwnersThread());
}

TEST(ProxyStart, AProxyCanStartExpandedFailedOrUnexpandable) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(R"({"structure": [
      {"name": "done", "proxy": {"start": "expanded", "children": [{"name": "in"}]}},
      {"name": "broken", "proxy": {"start": "failed", "children": [{"name": "in"}]}},
      {"name": "closed", "proxy": {"start": "unexpandable", "children": [{"name": "in"}]}},
      {"name": "fresh", "proxy": {"start": "unread"}}
    ]})"));
    auto tree = qxk::World::GetWorld()->tree;
    auto done = tree->FindInstance("done");
    EXPECT_TRUE(done->IsProxy() && done->IsProxyExpanded() && !done->IsExpandableProxy());
    EXPECT_TRUE(tree->FindInstance("done/in")) << "an expanded proxy's branch is in the tree";
    auto broken = tree->FindInstance("broken");
    EXPECT_TRUE(broken->IsProxy() && !broken->IsProxyExpanded() && broken->HasProxyExpandFailed());
    EXPECT_FALSE(broken->IsExpandableProxy());
    EXPECT_FALSE(tree->FindInstance("broken/in"));
    auto closed = tree->FindInstance("closed");
    EXPECT_TRUE(closed->IsProxy() && !closed->IsProxyExpanded() && !closed->HasProxyExpandFailed());
    EXPECT_FALSE(closed->IsExpandableProxy());
    EXPECT_TRUE(tree->FindInstance("fresh")->IsExpandableProxy());

    wtest::Owner owner;
    class Recording : public qxk::AsyncEvent {
    public:
        Recording() : qxk::BaseAsyncEvent(true) {}
        void OnComplete(int status) override { statuses.push_back(status); }
        std::vector<int> statuses;
    };
    du::SmartPtr<Recording> event(new Recording());
    owner.object->ManageObject(event);
    EXPECT_FALSE(closed->ExpandProxy(1, event.get(), nullptr, nullptr, nullptr, false, false));
    owner.Sync();
    EXPECT_EQ(event->statuses, std::vector<int>{qxk::BaseAsyncEvent::ES_Failed});
    EXPECT_FALSE(tree->FindInstance("closed/in"));
}

// The changes map keeps first-set order and one entry per instance through
// every growth of its index; a repeated set changes the value in place.
TEST(VisAndIconChangesMap, KeepsFirstSetOrderAndOneEntryPerInstanceAsItGrows) {
    // Only addresses are used: keys the way a tree's instances would be.
    std::vector<std::uint64_t> pool(5000);
    const auto key = [&pool](std::size_t i) { return reinterpret_cast<qxk::BaseInstance*>(&pool[i]); };
    guitree::VisAndIconChanges changes;
    EXPECT_EQ(changes.Find(key(0)), -1);
    for (std::size_t i = pool.size(); i-- > 0;) changes.Set(key(i), static_cast<int>(i % 200));
    for (std::size_t i = 0; i < pool.size(); i += 3) changes.Set(key(i), 0x7f);
    ASSERT_EQ(changes.size(), pool.size());
    std::size_t position = 0;
    for (const auto& [instance, packed] : changes) {
        const std::size_t i = pool.size() - 1 - position++;
        EXPECT_EQ(instance, key(i));
        EXPECT_EQ(packed, i % 3 == 0 ? 0x7f : static_cast<int>(i % 200));
        EXPECT_EQ(changes.Find(instance), packed);
    }
    std::uint64_t outsider = 0;
    EXPECT_EQ(changes.Find(reinterpret_cast<qxk::BaseInstance*>(&outsider)), -1);
}

}  // namespace
