// A web client's tree session with the plug-in loaded as the viewer loads
// it: registration, documents, SelectTreeNodes with loads, proxy reads and
// hides, and the ends of a session while a read is pending.

#include <gtest/gtest.h>

#include "TreeSession.h"
#include "devhost/world/Expansion.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/Settle.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldControl.h"

namespace {

const char* kCar = R"({
  "structure": [
    {"name": "car", "uid": 1, "children": [
      {"name": "body", "uid": 2},
      {"name": "wheels", "uid": 3, "children": [{"name": "w1", "uid": 4}, {"name": "w2", "uid": 5}]},
      {"name": "engine", "uid": 6, "proxy": {"completion": "manual", "children": [{"name": "piston", "uid": 7}]}},
      {"name": "trunk", "uid": 9, "proxy": {"children": [{"name": "spare", "uid": 10}]}},
      {"name": "broken", "uid": 11, "proxy": {"start": "failed", "children": [{"name": "x", "uid": 12}]}}
    ]}
  ],
  "scenes": [{"name": "main", "shapes": ["car", "car/body", "car/wheels/w1"],
              "views": [{"name": "3d", "kind": "shape"}]}],
  "activeView": "3d",
  "messages": {"qxbase:qxkStrings": {"7000": "Loading the model"}}
})";

const char* kCarMapping =
    R"({"treeMapping":[{"id":"1","idpath":"car"},{"id":"2","idpath":"car/body"},{"id":"3","idpath":"car/wheels"},)"
    R"({"id":"4","idpath":"car/wheels/w1"},{"id":"5","idpath":"car/wheels/w2"},{"id":"6","idpath":"car/engine"},)"
    R"({"id":"9","idpath":"car/trunk"},{"id":"11","idpath":"car/broken"}]})";

const char* kCarStates =
    R"({"treeUpdate":[{"id":"1","state":"3","loaded":"true"},{"id":"2","state":"1","loaded":"true"},)"
    R"({"id":"3","state":"4"},{"id":"4","state":"1","loaded":"true"},{"id":"5","state":"2"},{"id":"6","state":"2"},)"
    R"({"id":"9","state":"2"},{"id":"11","state":"2"}]})";

bool Has(const std::vector<std::string>& documents, const std::string& text) {
    for (const auto& document : documents)
        if (document.find(text) != std::string::npos) return true;
    return false;
}

devhost::ShapeRecord Shape(const char* path) { return devhost::ShapeOf("main", path); }

TEST(TreeSession, ARegisteredClientReceivesTheWholeTreeAndItsStates) {
    ttest::TreeSession session(kCar);
    session.Register();
    session.Settle();
    EXPECT_EQ(session.Calls(),
              (std::vector<std::string>{"OnTreeMappingBegin", std::string("OnTreeMapping ") + kCarMapping,
                                        "OnTreeMappingEnd", "OnTreeUpdateBegin",
                                        std::string("OnTreeUpdate ") + kCarStates, "OnTreeUpdateEnd"}));

    // A second observer is dropped and the first hears nothing of it.
    session.Clear();
    session.Register();
    session.Settle();
    EXPECT_TRUE(session.Calls().empty());

    // After any unregistration, changes reach nobody.
    session.module->UnRegisterTreeObserver(nullptr);
    devhost::AddInstanceAt("car", "roof");
    session.Select(R"({"primaryNode":"2"})");
    session.Settle();
    EXPECT_TRUE(session.Calls().empty());
    EXPECT_TRUE(Shape("car/body").visible) << "no watcher, no act";
    session.module->UnRegisterTreeObserver(nullptr);  // nothing to end
}

TEST(TreeSession, WithoutAShapeViewNothingRegistersUntilOneIsActive) {
    ttest::TreeSession session(R"({"structure": [{"name": "a", "uid": 5}],
        "scenes": [{"name": "s", "shapes": ["a"], "views": [{"name": "v", "kind": "shape"}]},
                   {"name": "p", "kind": "plain", "views": [{"name": "d", "kind": "drawing"}]}],
        "activeView": "d"})");
    session.Register();
    session.Settle();
    EXPECT_TRUE(session.Calls().empty());
    ASSERT_TRUE(devhost::ActivateView(""));
    session.Register();
    session.Settle();
    EXPECT_TRUE(session.Calls().empty());
    ASSERT_TRUE(devhost::ActivateView("v"));
    session.Register();
    session.Settle();
    EXPECT_TRUE(Has(session.Documents(), R"({"treeMapping":[{"id":"5","idpath":"a"}]})"));
}

TEST(TreeSession, SelectingAProxyReadsItAndShowsItsBranch) {
    ttest::TreeSession session(kCar);
    session.Register();
    session.Settle();
    session.Clear();
    devhost::ClearProgressDisplays();
    session.Select(R"({"primaryNode":"9"})");
    session.Settle();
    const auto documents = session.Documents();
    EXPECT_TRUE(Has(documents, R"({"treeMapping":[{"id":"10","idpath":"car/trunk/spare"}]})"));
    EXPECT_TRUE(Has(documents, R"({"id":"9","state":"5","loaded":"true"})")) << "the branch is shown";
    EXPECT_TRUE(Has(documents, R"({"id":"10","state":"1","loaded":"true"})"));
    EXPECT_TRUE(Shape("car/trunk/spare").visible);
    ASSERT_EQ(devhost::ProgressDisplays().size(), 1u);
    EXPECT_EQ(devhost::ProgressDisplays()[0].text, "Loading the model");
    EXPECT_TRUE(devhost::WorkflowMessages(*devhost::FindViewNamed("3d")).empty()) << "the scene was not empty";

    // The client can now name the new instance by its id.
    session.Select(R"({"primaryNode":"10"})");
    session.Settle();
    EXPECT_FALSE(Shape("car/trunk/spare").visible) << "state 1 hides";
    EXPECT_TRUE(Shape("car/trunk").visible);
}

TEST(TreeSession, TheRepeatRuleHidesASecondClickOnAPartlyShownBranch) {
    ttest::TreeSession session(kCar);
    session.Register();
    session.Settle();
    // wheels is in state 4: the first click loads its branch.
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_TRUE(Shape("car/wheels/w2").visible);
    EXPECT_TRUE(Shape("car/wheels").visible);
    // Forced back to state 3 twice: a load, then, repeated, a hide.
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 3));
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_TRUE(Shape("car/wheels/w1").visible);
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    EXPECT_FALSE(Shape("car/wheels").visible);
    // The repeat path stores nothing new: a third click hides again.
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    EXPECT_EQ(devhost::ProgressDisplays().size(), 4u) << "every acting request starts a display";

    // State 5 twice hides both times; another primary in state 3 loads.
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 5));
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/body", 3));
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 3));
    session.Select(R"({"primaryNode":"2"})");
    session.Select(R"({"primaryNode":"3"})");
    session.Settle();
    EXPECT_TRUE(Shape("car/wheels/w1").visible) << "a different primary before: no repeat";
}

TEST(TreeSession, StatesOutsideTheTableDoNeitherYetAnEmptySceneFlies) {
    ttest::TreeSession session(R"({"structure": [{"name": "a", "uid": 5, "children": [{"name": "b", "uid": 6}]}],
        "scenes": [{"name": "main", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session.Register();
    session.Settle();
    for (int state : {0, 9, 10}) {
        ASSERT_TRUE(devhost::SetVisibilityOverride("a", state));
        session.Select(R"({"primaryNode":"5"})");
    }
    session.Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "a").present);
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
    EXPECT_EQ(devhost::WorkflowMessages(*devhost::FindViewNamed("v")).size(), 3u);

    // A first load into the empty scene shows the branch and flies to all.
    ASSERT_TRUE(devhost::ClearVisibilityOverride("a"));
    session.Select(R"({"primaryNode":"5"})");
    session.Settle();
    EXPECT_TRUE(devhost::ShapeOf("main", "a/b").visible);
    const auto messages = devhost::WorkflowMessages(*devhost::FindViewNamed("v"));
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[3].message, "MsgFlyToAll");
    session.Select(R"({"primaryNode":"6"})");
    session.Settle();
    EXPECT_EQ(devhost::WorkflowMessages(*devhost::FindViewNamed("v")).size(), 4u);
}

TEST(TreeSession, UnloadedPathsLoadThroughChainsOfProxies) {
    ttest::TreeSession session(R"({"structure": [{"name": "top", "uid": 1, "children": [
        {"name": "outer", "uid": 2, "proxy": {"children": [
          {"name": "inner", "uid": 3, "proxy": {"children": [{"name": "deep", "uid": 4}, {"name": "deep2", "uid": 5}]}}
        ]}},
        {"name": "bad", "uid": 6, "proxy": {"outcome": "fail", "children": [{"name": "lost", "uid": 7}]}}]}],
        "scenes": [{"name": "main", "shapes": ["top"], "views": [{"name": "v", "kind": "shape"}]}],
        "activeView": "v"})");
    session.Register();
    session.Settle();
    // Two paths behind the same proxies, one path under no tree at all.
    session.Select(R"({"unloadedSelectedNodes":["top/outer/inner/deep","top/outer/inner/deep2","nowhere/x"]})");
    session.Settle();
    EXPECT_TRUE(devhost::ShapeOf("main", "top/outer/inner/deep").visible);
    EXPECT_TRUE(devhost::ShapeOf("main", "top/outer/inner/deep2").visible);
    EXPECT_FALSE(devhost::ShapeOf("main", "top/outer").present) << "only the named nodes are shown";

    // A read that fails ends the chain; the next load of it is only traced.
    session.Select(R"({"unloadedPrimaryNode":"top/bad/lost"})");
    session.Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "top/bad").present);
    session.Select(R"({"unloadedPrimaryNode":"top/bad"})");
    session.Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "top/bad").present);
}

// A read still pending when the client unregisters completes later into a
// module that has no watcher: nothing is touched, nothing is shown.
TEST(TreeSession, AReadPendingAtUnregistrationCompletesIntoNothing) {
    ttest::TreeSession session(kCar);
    session.Register();
    session.Settle();
    session.Select(R"({"primaryNode":"6"})");
    session.Settle();
    ASSERT_EQ(devhost::PendingExpansions(), std::vector<std::string>{"car/engine"});
    session.module->UnRegisterTreeObserver(nullptr);
    session.Settle();
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 1);
    session.Settle();
    EXPECT_FALSE(Shape("car/engine/piston").present);
    // A new registration starts afresh and works on.
    session.Clear();
    session.Register();
    session.Settle();
    EXPECT_TRUE(Has(session.Documents(), R"({"id":"7","idpath":"car/engine/piston"})"));
}

// The same after the module has ended and its library has gone.
TEST(TreeSession, AReadPendingAtTerminationCompletesIntoNothing) {
    ttest::TreeSession session(kCar);
    session.Register();
    session.Settle();
    session.Select(R"({"primaryNode":"6"})");
    session.Settle();
    ASSERT_EQ(devhost::PendingExpansions(), std::vector<std::string>{"car/engine"});
    session.Terminate();
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 1);
    devhost::Settle({});
    EXPECT_FALSE(Shape("car/engine/piston").present);
}

}  // namespace
