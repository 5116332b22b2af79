// LoadInstances and UnloadInstances through the module's remote interface:
// how request texts are read, groups, the collection of lists that both
// methods share, and the progress display and fly-to of a load.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostCalls.h"
#include "PluginSession.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/WorldControl.h"
#include "qxk/ShapeScene.h"
#include "qxk/WorkflowManager.h"
#include "qxk/WorkflowManagerObserver.h"

namespace cmdtest {
namespace {

using Calls = std::vector<std::string>;

// Notes, for each fly-to-all, how many progress displays were started.
class FlyWatcher : public qxk::WorkflowManagerObserver {
public:
    void OnWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int) override {
        if (workflow == "shapeviewflyto" && message == "MsgFlyToAll")
            displaysAtFlight.push_back(devhost::ProgressDisplays().size());
    }
    std::vector<std::size_t> displaysAtFlight;
};

class Loader : public support::SampleWorldTest {
protected:
    // The host's reports to the progress events come on the module's thread
    // after the call; each request waits for them.
    void Load(const char* text) {
        session->Module().LoadInstances(du::Symbol(text));
        session->Settle();
    }
    void Unload(const char* text) {
        session->Module().UnloadInstances(du::Symbol(text));
        session->Settle();
    }

    // The idpaths that AddShapeInstance was called for in a scene, with the
    // mode, in order.
    static Calls AddedIn(const char* scene) {
        Calls added;
        for (const auto& call : devhost::AddShapeCallsOf(*devhost::FindSceneNamed(scene)))
            added.push_back(call.instance->GetIdPath().str() + ":" + std::to_string(call.mode));
        return added;
    }
    static bool Visible(const char* scene, const char* path) { return devhost::ShapeOf(scene, path).visible; }
    static unsigned int Groups(const char* scene) {
        return devhost::UpdateGroupsOf(*devhost::FindSceneNamed(scene)).ended;
    }
};

// Loading shows what has a shape instance and still adds a shape instance
// for every instance named, in one update group, then starts a progress
// display; the scene had content, so the view does not move.
TEST_F(Loader, LoadShowsAndAddsEveryInstanceNamed) {
    ASSERT_FALSE(Visible("Model", "drone/frame/fasteners/bolt_1"));
    Load(R"(["drone/frame/fasteners/bolt_1","drone/frame/fasteners/bolt_3","drone/frame/fasteners/bolt_1"])");
    EXPECT_EQ(AddedIn("Model"), (Calls{"drone/frame/fasteners/bolt_1:2", "drone/frame/fasteners/bolt_3:2",
                                       "drone/frame/fasteners/bolt_1:2"}));
    EXPECT_TRUE(Visible("Model", "drone/frame/fasteners/bolt_1"));
    EXPECT_TRUE(devhost::ShapeOf("Model", "drone/frame/fasteners/bolt_3").present);
    EXPECT_EQ(Groups("Model"), 1u);
    const auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_EQ(displays[0].scene, devhost::FindSceneNamed("Model"));
    EXPECT_EQ(displays[0].text, "Loading the model");
    EXPECT_FALSE(displays[0].running) << "the viewer reports the end through the attached event";
    EXPECT_EQ(HostCalls("Main"), Calls{});
}

// The first content of an empty scene: the view flies to all, with the
// fly-to data of a first load, after the progress display has started.
TEST_F(Loader, LoadIntoAnEmptySceneFliesToAllAfterTheProgressStarted) {
    ASSERT_TRUE(devhost::ActivateView("Detail view"));
    du::SmartPtr<qxk::WorkflowManager> workflows;
    devhost::FindViewNamed("Detail view")->GetWorkflowManager(workflows);
    const du::SmartPtr<FlyWatcher> watcher(new FlyWatcher);
    workflows->AddWorkflowObserver(watcher);
    Load(R"(["drone/propulsion/motor_1"])");
    EXPECT_EQ(HostCalls("Detail view"), Calls{"shapeviewflyto:MsgFlyToAll:0:flyto(5,0)"});
    EXPECT_EQ(watcher->displaysAtFlight, std::vector<std::size_t>{1});
    // Now it has content: a second load does not fly.
    Load(R"(["drone/propulsion/motor_2"])");
    EXPECT_EQ(HostCalls("Detail view"), Calls{"shapeviewflyto:MsgFlyToAll:0:flyto(5,0)"});
    EXPECT_EQ(AddedIn("Detail"), (Calls{"drone/propulsion/motor_1:2", "drone/propulsion/motor_1:2",
                                        "drone/propulsion/motor_2:2"}));
    EXPECT_EQ(AddedIn("Model"), Calls{});
}

// The first and last characters of a name are dropped unseen as its quotes:
// a blank behind a comma leaves a name the tree does not know.
TEST_F(Loader, BlankBehindACommaLosesTheName) {
    Load(R"(["drone/frame/arm_1", "drone/frame/arm_2","drone/frame/arm_3"])");
    EXPECT_EQ(AddedIn("Model"), (Calls{"drone/frame/arm_1:2", "drone/frame/arm_3:2"}));
    // A "]" ahead of the last "[" takes the text behind the "[" to its end.
    Load(R"(x]["drone/frame/arm_4")");
    EXPECT_EQ(AddedIn("Model").back(), "drone/frame/arm_4:2");
}

// Texts that are neither lists nor group messages change nothing, and are
// not collected: a later end message applies nothing.
TEST_F(Loader, TextsThatAreNoRequestAreIgnored) {
    for (const char* text : {"", "update", "begin", "end", "[\"drone/frame/arm_1\"", "update [\"drone/frame/arm_1\"",
                             "[]", "[\"nowhere\"]"})
        Load(text);
    Unload("update end");
    EXPECT_EQ(AddedIn("Model"), Calls{});
    EXPECT_EQ(Groups("Model"), 0u);
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
}

// Inside a group lists are only collected; a list that also says "update
// end" closes nothing. The end applies them all, counting the scene's shape
// instances then.
TEST_F(Loader, GroupAppliesAtItsEndOnly) {
    ASSERT_TRUE(devhost::ActivateView("Detail view"));
    Load("update begin");
    Load(R"(["drone/frame/arm_1"])");
    Unload(R"(["drone/frame/arm_2"] update end)");
    EXPECT_EQ(AddedIn("Detail"), Calls{});
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
    ASSERT_TRUE(devhost::ShowInstance("Detail", "drone/frame/body_top", true));
    Load("update end");
    EXPECT_EQ(AddedIn("Detail"), (Calls{"drone/frame/arm_1:2", "drone/frame/arm_2:2"}));
    EXPECT_EQ(HostCalls("Detail view"), Calls{}) << "the scene had content when the group ended";
    EXPECT_EQ(devhost::ProgressDisplays().size(), 1u);
    // The group is closed and its lists cleared: a single list applies alone.
    Load(R"(["drone/frame/arm_3"])");
    EXPECT_EQ(AddedIn("Detail").back(), "drone/frame/arm_3:2");
    EXPECT_EQ(AddedIn("Detail").size(), 3u);
}

// A begin drops what the open group collected; begin and end together, with
// no brackets, open a group; "[" without "]" is a group message.
TEST_F(Loader, BeginOpensAndDiscards) {
    Load("update begin");
    Load(R"(["drone/frame/arm_1"])");
    Load("update begin end");
    Load(R"(["drone/frame/arm_2"])");
    Load("update end [");
    EXPECT_EQ(AddedIn("Model"), Calls{"drone/frame/arm_2:2"});
    Load("update begin [");
    Load(R"(["drone/frame/arm_3"])");
    EXPECT_EQ(AddedIn("Model").size(), 1u);
}

// An end with nothing collected only leaves the group.
TEST_F(Loader, EndWithNothingCollectedLeavesTheGroup) {
    Load("update begin");
    Unload("update end");
    EXPECT_EQ(Groups("Model"), 0u);
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
    Load(R"(["drone/frame/arm_1"])");
    EXPECT_EQ(AddedIn("Model"), Calls{"drone/frame/arm_1:2"});
}

// Lists outside a group stay collected, for load and unload alike: each
// later list applies all earlier ones again, and an end message with no
// group open applies what they left behind.
TEST_F(Loader, SingleListsStayCollectedForBothMethods) {
    Load(R"(["drone/frame/arm_1"])");
    Unload(R"(["drone/frame/arm_2"])");
    EXPECT_FALSE(Visible("Model", "drone/frame/arm_1"));
    EXPECT_FALSE(Visible("Model", "drone/frame/arm_2"));
    Load("update end");
    EXPECT_TRUE(Visible("Model", "drone/frame/arm_1"));
    EXPECT_TRUE(Visible("Model", "drone/frame/arm_2"));
    EXPECT_EQ(AddedIn("Model"), (Calls{"drone/frame/arm_1:2", "drone/frame/arm_1:2", "drone/frame/arm_2:2"}));
    // Cleared by the end: nothing is left to apply.
    Unload("update end");
    EXPECT_TRUE(Visible("Model", "drone/frame/arm_1"));
    EXPECT_EQ(devhost::ProgressDisplays().size(), 3u);
}

// Unloading hides and removes nothing, adds nothing and never flies.
TEST_F(Loader, UnloadOnlyHides) {
    ASSERT_TRUE(devhost::ActivateView("Detail view"));
    ASSERT_TRUE(devhost::ShowInstance("Detail", "drone/frame/arm_1", true));
    Unload(R"(["drone/frame/arm_1","drone/frame/arm_2"])");
    EXPECT_FALSE(Visible("Detail", "drone/frame/arm_1"));
    EXPECT_TRUE(devhost::ShapeOf("Detail", "drone/frame/arm_1").present);
    EXPECT_FALSE(devhost::ShapeOf("Detail", "drone/frame/arm_2").present);
    EXPECT_EQ(AddedIn("Detail"), Calls{});
    EXPECT_EQ(HostCalls("Detail view"), Calls{});
    EXPECT_EQ(devhost::ProgressDisplays().size(), 1u);
}

// Without an active shape scene a list is still collected, and a later
// request applies it to the scene active then.
TEST_F(Loader, ListWithoutActiveShapeSceneWaitsInTheCollection) {
    ASSERT_TRUE(devhost::ActivateView("Manual"));
    Load(R"(["drone/frame/arm_1"])");
    ASSERT_TRUE(devhost::ActivateView(""));
    Load(R"(["drone/frame/arm_2"])");
    EXPECT_TRUE(devhost::ProgressDisplays().empty());
    ASSERT_TRUE(devhost::ActivateView("Detail view"));
    Load("update end");
    EXPECT_EQ(AddedIn("Detail"), (Calls{"drone/frame/arm_1:2", "drone/frame/arm_2:2"}));
    EXPECT_EQ(AddedIn("Model"), Calls{});
    EXPECT_EQ(HostCalls("Detail view"), Calls{"shapeviewflyto:MsgFlyToAll:0:flyto(5,0)"});
}

}  // namespace
}  // namespace cmdtest
