// Host states in which the module checks what a viewer would always give it:
// a tree that does not take the interface, no scene manager, a view without
// workflows, a label that the scene does not keep, a viewables request that
// decoded to nothing. Each is met quietly and the module serves on.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "devhost/content/MemoryPool.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/Settle.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldControl.h"

namespace rtest {
namespace {

class SaferPaths : public ::testing::Test {
protected:
    // Starts the plug-in, with the given fault armed while it starts.
    void Start(const char* faultPoint = nullptr) {
        if (faultPoint) devhost::ArmFault(faultPoint, devhost::Fault{devhost::FaultKind::Fail, ""});
        plugin = std::make_unique<support::PluginClient>(treeCalls.Sink());
        devhost::DisarmAllFaults();
    }

    support::CleanProcess clean;
    support::CallRecorder treeCalls;
    std::unique_ptr<support::PluginClient> plugin;
};

// The interface then has no scene-view listener to name its scene to: the
// registration publishes nothing, and a second one is still dropped.
TEST_F(SaferPaths, ATreeThatDoesNotTakeTheInterfaceLeavesTheRegistrationSilent) {
    support::LoadWorld("");
    Start();
    devhost::ArmFault("guitree::GuiTree::SetGuiInterface", devhost::Fault{devhost::FaultKind::Fail, ""});
    plugin->Module().RegisterTreeObserver(plugin->Observer());
    plugin->Settle();
    devhost::DisarmAllFaults();
    plugin->Module().RegisterTreeObserver(plugin->Observer());
    plugin->Settle();
    EXPECT_TRUE(treeCalls.Calls().empty());
    EXPECT_TRUE(plugin->Serves());
}

// An application without a scene manager at the module's start: the colour,
// visibility and annotation-set commands answer and change nothing.
TEST_F(SaferPaths, WithoutASceneManagerTheSceneCommandsAnswerAndChangeNothing) {
    support::LoadWorld("");
    Start("qxkapp::QxkApp::GetSceneManager");
    plugin->Module().SetInstancesColor({"drone/frame"}, true, "ff0000");
    EXPECT_TRUE(plugin->Module().GetInstanceColor("drone/frame/arm_1").empty());
    plugin->Module().RestoreInstancesVisibility();
    plugin->Module().LoadAnnotationSet("Exploded view");
    plugin->Settle();
    EXPECT_TRUE(devhost::ShapeOf("Model", "drone/frame/arm_1").colorCalls.empty());
    EXPECT_TRUE(devhost::CurrentContent()->AppliedSets().empty());
    EXPECT_TRUE(plugin->Serves());
}

// The first load into an empty scene flies to all, through the first view's
// workflows; a view without them is not flown, and the load goes on.
TEST_F(SaferPaths, AnEmptySceneWhoseViewHasNoWorkflowsIsNotFlown) {
    support::LoadWorld(R"({"structure": [{"name": "a", "uid": 5}],
        "scenes": [{"name": "main", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    Start();
    plugin->Module().RegisterTreeObserver(plugin->Observer());
    plugin->Settle();
    devhost::ArmFault("qxk::View::GetWorkflowManager", devhost::Fault{devhost::FaultKind::Fail, ""});
    plugin->Module().SelectTreeNodes(R"({"primaryNode":"5"})");
    plugin->Settle();
    devhost::DisarmAllFaults();
    EXPECT_TRUE(devhost::ShapeOf("main", "a").visible);
    EXPECT_TRUE(devhost::WorkflowMessages(*devhost::FindViewNamed("v")).empty());
    EXPECT_TRUE(plugin->Serves());
}

// A label lives in the host's memory pool; one that the scene refuses goes
// back to it when the call ends.
TEST_F(SaferPaths, ALabelThatTheSceneDoesNotKeepIsFreed) {
    support::LoadWorld("");
    Start();
    const auto before = devhost::GetMemoryPoolStats().liveBlocks;
    devhost::ArmFault("qxannotations::Label::AttachToScene", devhost::Fault{devhost::FaultKind::Fail, ""});
    plugin->Module().AddAnnotationLabel("refused", 1, 2, 3);
    devhost::DisarmAllFaults();
    EXPECT_EQ(devhost::GetMemoryPoolStats().liveBlocks, before);
    plugin->Module().AddAnnotationLabel("kept", 1, 2, 3);
    EXPECT_EQ(devhost::GetMemoryPoolStats().liveBlocks, before + 1) << "the scene keeps the one it takes";
}

// A viewables request handle that decoded to nothing has no one to answer:
// the viewables are gathered and their fetches end into no reply.
TEST_F(SaferPaths, ViewablesForARequestThatDecodedToNothingAreAnsweredToNoOne) {
    support::LoadWorld("");
    Start();
    plugin->Module().GetViewables(nullptr, 1);
    plugin->Settle();
    EXPECT_TRUE(plugin->Serves());
    EXPECT_TRUE(treeCalls.Calls().empty());
}

}  // namespace
}  // namespace rtest
