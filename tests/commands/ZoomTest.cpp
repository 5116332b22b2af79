// ZoomToAll and ZoomToSelected on every kind of view of the sample world:
// which handler each reaches, with what, and that a view of several kinds
// takes the first row that fits.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ViewerSession.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"

namespace vtest {
namespace {

using Calls = std::vector<std::string>;

class Zoom : public ::testing::Test {
protected:
    ViewerSession session;
};

TEST_F(Zoom, EachKindOfViewReachesItsHandler) {
    ASSERT_TRUE(session.Started());
    struct Row {
        const char* view;
        Calls all;       // the view's calls after ZoomToAll(7)
        Calls selected;  // and after ZoomToSelected(-3) as well
        Calls modules;   // calls on optional modules
    };
    const Row rows[] = {
        {"Main", {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)"},
         {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)", "shapeviewflyto:MsgFlyToSelected:-3:null"}, {}},
        {"Assembly drawing", {"zoom:4"}, {"zoom:4", "zoom:2"}, {}},
        {"Photo", {"zoom:4"}, {"zoom:4", "zoom:2"}, {}},
        {"Manual", {"zoom:4"}, {"zoom:4", "zoom:2"}, {}},
        {"Wiring", {"flyto:MsgFlyToAll:7:null"}, {"flyto:MsgFlyToAll:7:null"}, {"ecadapi.FlyToSelected:Wiring:-3"}},
        {"Board layout", {"flyto:MsgFlyToAll:7:null"}, {"flyto:MsgFlyToAll:7:null"},
         {"ecadapi.FlyToSelected:Board layout:-3"}},
        {"Schematic", {"flyto:MsgFlyToAll:7:null"}, {"flyto:MsgFlyToAll:7:null"},
         {"webipc.FlyToSelected:Schematic:-3"}},
        {"Web harness", {"flyto:MsgFlyToAll:7:null"}, {"flyto:MsgFlyToAll:7:null"},
         {"webipc.FlyToSelected:Web harness:-3"}},
        {"Cable routing", {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)"},
         {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)", "shapeviewflyto:MsgFlyToSelected:-3:null"}, {}},
        {"Mechanical review", {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)"},
         {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)", "shapeviewflyto:MsgFlyToSelected:-3:null"}, {}},
        // Fit all, then refresh; the client's integer goes nowhere.
        {"Exploded", {"command:6", "command:0"}, {"command:6", "command:0"}, {}},
        {"Service illustration", {}, {}, {}},
        // Of 0x8d and 0x65: the workflow row for all, the shape row for
        // selected, as each table has them in another order.
        {"Web schematic", {"flyto:MsgFlyToAll:7:null"},
         {"flyto:MsgFlyToAll:7:null", "shapeviewflyto:MsgFlyToSelected:-3:null"}, {}},
        // Of 0x66, 0x4b and 0x34: the 0x4b rows come first.
        {"Harness sheet", {"flyto:MsgFlyToAll:7:null"}, {"flyto:MsgFlyToAll:7:null"},
         {"ecadapi.FlyToSelected:Harness sheet:-3"}},
        // A shape view also of 0x65 and 0x4e is served as a shape view.
        {"Detail view", {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)"},
         {"shapeviewflyto:MsgFlyToAll:7:flyto(4,4)", "shapeviewflyto:MsgFlyToSelected:-3:null"}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.view);
        ForgetModuleCalls();
        session.Activate(row.view);
        session.module->ZoomToAll(7);
        EXPECT_EQ(HostCalls(row.view), row.all);
        EXPECT_EQ(ModuleCalls(), Calls{});
        session.module->ZoomToSelected(-3);
        EXPECT_EQ(HostCalls(row.view), row.selected);
        EXPECT_EQ(ModuleCalls(), row.modules);
    }
}

TEST_F(Zoom, NoActiveViewNothingHappens) {
    ASSERT_TRUE(session.Started());
    session.Activate("");
    session.module->ZoomToAll(1);
    session.module->ZoomToSelected(1);
    for (const char* view : {"Main", "Manual", "Wiring", "Exploded"}) EXPECT_EQ(HostCalls(view), Calls{}) << view;
    EXPECT_EQ(ModuleCalls(), Calls{});
}

// The electronic design module is optional: where the loader cannot load
// it, or there is no loader, selected does nothing.
TEST_F(Zoom, WithoutTheEcadModuleSelectedDoesNothing) {
    ASSERT_TRUE(session.Started());
    session.Activate("Wiring");
    devhost::ArmFault("qxloader::Loader::LoadModule", {devhost::FaultKind::Fail, ""});
    session.module->ZoomToSelected(2);
    devhost::DisarmAllFaults();
    devhost::CurrentContent()->SetLoaderPresent(false);
    session.module->ZoomToSelected(2);
    EXPECT_EQ(HostCalls("Wiring"), Calls{});
    EXPECT_EQ(ModuleCalls(), Calls{});
}

// A web view whose module does not load has nothing to cast, so nothing is
// called; the view is not asked instead.
TEST_F(Zoom, WebViewWhoseModuleDoesNotLoadGetsNothing) {
    ASSERT_TRUE(session.Started());
    session.Activate("Schematic");
    devhost::ArmFault("qxloader::Loader::LoadModule", {devhost::FaultKind::Fail, ""});
    session.module->ZoomToSelected(2);
    EXPECT_EQ(HostCalls("Schematic"), Calls{});
    EXPECT_EQ(ModuleCalls(), Calls{});
}

TEST_F(Zoom, ViewWithoutWorkflowManagerGetsNoWorkflowMessage) {
    ASSERT_TRUE(session.Started());
    for (const char* view : {"Main", "Board layout", "Cable routing"}) {
        session.Activate(view);
        devhost::ArmFault("qxk::View::GetWorkflowManager", {devhost::FaultKind::Fail, ""});
        session.module->ZoomToAll(0);
        session.module->ZoomToSelected(0);
        devhost::DisarmAllFaults();
        EXPECT_EQ(HostCalls(view), Calls{}) << view;
    }
}

}  // namespace
}  // namespace vtest
