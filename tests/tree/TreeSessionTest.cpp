// A web client's tree session with the plug-in loaded as the viewer loads
// it: registration, documents, SelectTreeNodes with loads, proxy reads and
// hides, and the ends of a session while a read is pending.

#include <gtest/gtest.h>

#include "PluginSession.h"
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

using TreeSession = support::PluginTest;

TEST_F(TreeSession, ARegisteredClientReceivesTheWholeTreeAndItsStates) {
    Start(kCar);
    session->RegisterTreeObserver();
    EXPECT_EQ(session->Received(),
              (std::vector<std::string>{"OnTreeMappingBegin", std::string("OnTreeMapping ") + kCarMapping,
                                        "OnTreeMappingEnd", "OnTreeUpdateBegin",
                                        std::string("OnTreeUpdate ") + kCarStates, "OnTreeUpdateEnd"}));

    // A second observer is dropped and the first hears nothing of it.
    session->ForgetReceived();
    session->RegisterTreeObserver();
    EXPECT_TRUE(session->Received().empty());

    // After any unregistration, changes reach nobody.
    session->Module().UnRegisterTreeObserver(nullptr);
    devhost::AddInstanceAt("car", "roof");
    session->SelectTreeNodes(R"({"primaryNode":"2"})");
    EXPECT_TRUE(session->Received().empty());
    EXPECT_TRUE(Shape("car/body").visible) << "no watcher, no act";
    session->Module().UnRegisterTreeObserver(nullptr);  // nothing to end
}

TEST_F(TreeSession, WithoutAShapeViewNothingRegistersUntilOneIsActive) {
    Start(R"({"structure": [{"name": "a", "uid": 5}],
        "scenes": [{"name": "s", "shapes": ["a"], "views": [{"name": "v", "kind": "shape"}]},
                   {"name": "p", "kind": "plain", "views": [{"name": "d", "kind": "drawing"}]}],
        "activeView": "d"})");
    session->RegisterTreeObserver();
    EXPECT_TRUE(session->Received().empty());
    ASSERT_TRUE(devhost::ActivateView(""));
    session->RegisterTreeObserver();
    EXPECT_TRUE(session->Received().empty());
    ASSERT_TRUE(devhost::ActivateView("v"));
    session->RegisterTreeObserver();
    EXPECT_TRUE(Has(session->Documents(), R"({"treeMapping":[{"id":"5","idpath":"a"}]})"));
}

TEST_F(TreeSession, SelectingAProxyReadsItAndShowsItsBranch) {
    Start(kCar);
    session->RegisterTreeObserver();
    session->ForgetReceived();
    devhost::ClearProgressDisplays();
    session->SelectTreeNodes(R"({"primaryNode":"9"})");
    const auto documents = session->Documents();
    EXPECT_TRUE(Has(documents, R"({"treeMapping":[{"id":"10","idpath":"car/trunk/spare"}]})"));
    EXPECT_TRUE(Has(documents, R"({"id":"9","state":"5","loaded":"true"})")) << "the branch is shown";
    EXPECT_TRUE(Has(documents, R"({"id":"10","state":"1","loaded":"true"})"));
    EXPECT_TRUE(Shape("car/trunk/spare").visible);
    ASSERT_EQ(devhost::ProgressDisplays().size(), 1u);
    EXPECT_EQ(devhost::ProgressDisplays()[0].text, "Loading the model");
    EXPECT_TRUE(devhost::WorkflowMessages(*devhost::FindViewNamed("3d")).empty()) << "the scene was not empty";

    // The client can now name the new instance by its id.
    session->SelectTreeNodes(R"({"primaryNode":"10"})");
    session->Settle();
    EXPECT_FALSE(Shape("car/trunk/spare").visible) << "state 1 hides";
    EXPECT_TRUE(Shape("car/trunk").visible);
}

TEST_F(TreeSession, TheRepeatRuleHidesASecondClickOnAPartlyShownBranch) {
    Start(kCar);
    session->RegisterTreeObserver();
    // wheels is in state 4: the first click loads its branch.
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_TRUE(Shape("car/wheels/w2").visible);
    EXPECT_TRUE(Shape("car/wheels").visible);
    // Forced back to state 3 twice: a load, then, repeated, a hide.
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 3));
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_TRUE(Shape("car/wheels/w1").visible);
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    EXPECT_FALSE(Shape("car/wheels").visible);
    // The repeat path stores nothing new: a third click hides again.
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    EXPECT_EQ(devhost::ProgressDisplays().size(), 4u) << "every acting request starts a display";

    // State 5 twice hides both times; another primary in state 3 loads.
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 5));
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    ASSERT_TRUE(devhost::ShowInstance("main", "car/wheels/w1", true));
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_FALSE(Shape("car/wheels/w1").visible);
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/body", 3));
    ASSERT_TRUE(devhost::SetVisibilityOverride("car/wheels", 3));
    session->SelectTreeNodes(R"({"primaryNode":"2"})");
    session->SelectTreeNodes(R"({"primaryNode":"3"})");
    session->Settle();
    EXPECT_TRUE(Shape("car/wheels/w1").visible) << "a different primary before: no repeat";
}

TEST_F(TreeSession, StatesOutsideTheTableDoNeitherYetAnEmptySceneFlies) {
    Start(R"({"structure": [{"name": "a", "uid": 5, "children": [{"name": "b", "uid": 6}]}],
        "scenes": [{"name": "main", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session->RegisterTreeObserver();
    for (int state : {0, 9, 10}) {
        ASSERT_TRUE(devhost::SetVisibilityOverride("a", state));
        session->SelectTreeNodes(R"({"primaryNode":"5"})");
    }
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "a").present);
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
    EXPECT_EQ(devhost::WorkflowMessages(*devhost::FindViewNamed("v")).size(), 3u);

    // A first load into the empty scene shows the branch and flies to all.
    ASSERT_TRUE(devhost::ClearVisibilityOverride("a"));
    session->SelectTreeNodes(R"({"primaryNode":"5"})");
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("main", "a/b").visible);
    const auto messages = devhost::WorkflowMessages(*devhost::FindViewNamed("v"));
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[3].message, "MsgFlyToAll");
    session->SelectTreeNodes(R"({"primaryNode":"6"})");
    session->Settle();
    EXPECT_EQ(devhost::WorkflowMessages(*devhost::FindViewNamed("v")).size(), 4u);
}

TEST_F(TreeSession, UnloadedPathsLoadThroughChainsOfProxies) {
    Start(R"({"structure": [{"name": "top", "uid": 1, "children": [
        {"name": "outer", "uid": 2, "proxy": {"children": [
          {"name": "inner", "uid": 3, "proxy": {"children": [{"name": "deep", "uid": 4}, {"name": "deep2", "uid": 5}]}}
        ]}},
        {"name": "bad", "uid": 6, "proxy": {"outcome": "fail", "children": [{"name": "lost", "uid": 7}]}}]}],
        "scenes": [{"name": "main", "shapes": ["top"], "views": [{"name": "v", "kind": "shape"}]}],
        "activeView": "v"})");
    session->RegisterTreeObserver();
    // Two paths behind the same proxies, one path under no tree at all.
    session->SelectTreeNodes(R"({"unloadedSelectedNodes":["top/outer/inner/deep","top/outer/inner/deep2","nowhere/x"]})");
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("main", "top/outer/inner/deep").visible);
    EXPECT_TRUE(devhost::ShapeOf("main", "top/outer/inner/deep2").visible);
    EXPECT_FALSE(devhost::ShapeOf("main", "top/outer").present) << "only the named nodes are shown";

    // A read that fails ends the chain; the next load of it is only traced.
    session->SelectTreeNodes(R"({"unloadedPrimaryNode":"top/bad/lost"})");
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "top/bad").present);
    session->SelectTreeNodes(R"({"unloadedPrimaryNode":"top/bad"})");
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("main", "top/bad").present);
}

// A read still pending when the client unregisters completes later into a
// module that has no watcher: nothing is touched, nothing is shown.
TEST_F(TreeSession, AReadPendingAtUnregistrationCompletesIntoNothing) {
    Start(kCar);
    session->RegisterTreeObserver();
    session->SelectTreeNodes(R"({"primaryNode":"6"})");
    session->Settle();
    ASSERT_EQ(devhost::PendingExpansions(), std::vector<std::string>{"car/engine"});
    session->Module().UnRegisterTreeObserver(nullptr);
    session->Settle();
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 1);
    session->Settle();
    EXPECT_FALSE(Shape("car/engine/piston").present);
    // A new registration starts afresh and works on.
    session->ForgetReceived();
    session->RegisterTreeObserver();
    EXPECT_TRUE(Has(session->Documents(), R"({"id":"7","idpath":"car/engine/piston"})"));
}

// The same after the module has ended and its library has gone.
TEST_F(TreeSession, AReadPendingAtTerminationCompletesIntoNothing) {
    Start(kCar);
    session->RegisterTreeObserver();
    session->SelectTreeNodes(R"({"primaryNode":"6"})");
    session->Settle();
    ASSERT_EQ(devhost::PendingExpansions(), std::vector<std::string>{"car/engine"});
    session->End();
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 1);
    devhost::Settle({});
    EXPECT_FALSE(Shape("car/engine/piston").present);
}

TEST_F(TreeSession, ANullObserverRegistersNothing) {
    Start(kCar);
    session->Module().RegisterTreeObserver(nullptr);
    session->Settle();
    session->RegisterTreeObserver();
    EXPECT_TRUE(Has(session->Documents(), kCarMapping)) << "the real observer still registers";
}

// The id the mapping gives an idpath, or "".
std::string IdOf(const std::vector<std::string>& documents, const std::string& idPath) {
    const std::string tail = R"(","idpath":")" + idPath + R"("})";
    for (const auto& document : documents) {
        const auto at = document.find(tail);
        if (at == std::string::npos) continue;
        const auto start = document.rfind(R"({"id":")", at) + 7;
        return document.substr(start, at - start);
    }
    return "";
}

TEST_F(TreeSession, OnTheSampleWorldAProxysNodeExpandsAndItsInstancesArrive) {
    Start("");
    session->RegisterTreeObserver();
    auto documents = session->Documents();
    ASSERT_GE(documents.size(), 2u);
    EXPECT_EQ(documents[0].rfind(R"({"treeMapping":[)", 0), 0u);
    for (const char* path : {"drone", "drone/frame/fasteners/bolt_4", "drone/propulsion/motor_3/rotor",
                             "drone/electronics/gps", "drone/camera_gimbal", "drone/landing_gear"})
        EXPECT_NE(IdOf(documents, path), "") << path;
    EXPECT_EQ(IdOf(documents, "drone/camera_gimbal/mount"), "") << "not read yet";
    EXPECT_EQ(documents[1].rfind(R"({"treeUpdate":[)", 0), 0u);

    const std::string gimbal = IdOf(documents, "drone/camera_gimbal");
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"primaryNode":")" + gimbal + R"("})");
    documents = session->Documents();
    for (const char* path : {"drone/camera_gimbal/mount", "drone/camera_gimbal/yaw_motor", "drone/camera_gimbal/camera"}) {
        const std::string id = IdOf(documents, path);
        ASSERT_NE(id, "") << path;
        EXPECT_TRUE(Has(documents, R"({"id":")" + id + R"(","state":"1","loaded":"true"})")) << path;
        EXPECT_TRUE(devhost::ShapeOf("Model", path).visible) << path;
    }
}

}  // namespace
