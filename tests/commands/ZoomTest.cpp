// ZoomToAll and ZoomToSelected on every kind of view of the sample world:
// which handler each reaches, with what, and that a view of several kinds
// takes the first row that fits.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostCalls.h"
#include "PluginSession.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldControl.h"

namespace cmdtest {
namespace {

using Calls = std::vector<std::string>;

using Zoom = support::SampleWorldTest;

TEST_F(Zoom, EachKindOfViewReachesItsHandler) {
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
        ASSERT_TRUE(devhost::ActivateView(row.view));
        session->Module().ZoomToAll(7);
        EXPECT_EQ(HostCalls(row.view), row.all);
        EXPECT_EQ(ModuleCalls(), Calls{});
        session->Module().ZoomToSelected(-3);
        EXPECT_EQ(HostCalls(row.view), row.selected);
        EXPECT_EQ(ModuleCalls(), row.modules);
    }
}

// The view's workflows keep the fly-to data they were sent, also after the
// module that sent it has gone; the world then goes without it.
TEST_F(Zoom, FlyToDataOutlivesThePlugin) {
    session->Module().ZoomToAll(0);
    session->End();
    EXPECT_EQ(HostCalls("Main"), Calls{"shapeviewflyto:MsgFlyToAll:0:flyto(4,4)"});
}

TEST_F(Zoom, NoActiveViewNothingHappens) {
    ASSERT_TRUE(devhost::ActivateView(""));
    session->Module().ZoomToAll(1);
    session->Module().ZoomToSelected(1);
    for (const char* view : {"Main", "Manual", "Wiring", "Exploded"}) EXPECT_EQ(HostCalls(view), Calls{}) << view;
    EXPECT_EQ(ModuleCalls(), Calls{});
}

// The electronic design module is optional: where the loader cannot load
// it, or there is no loader, selected does nothing.
TEST_F(Zoom, WithoutTheEcadModuleSelectedDoesNothing) {
    ASSERT_TRUE(devhost::ActivateView("Wiring"));
    devhost::ArmFault("qxloader::Loader::LoadModule", {devhost::FaultKind::Fail, ""});
    session->Module().ZoomToSelected(2);
    devhost::DisarmAllFaults();
    devhost::CurrentContent()->SetLoaderPresent(false);
    session->Module().ZoomToSelected(2);
    EXPECT_EQ(HostCalls("Wiring"), Calls{});
    EXPECT_EQ(ModuleCalls(), Calls{});
}

// A web view whose module does not load has nothing to cast, so nothing is
// called; the view is not asked instead.
TEST_F(Zoom, WebViewWhoseModuleDoesNotLoadGetsNothing) {
    ASSERT_TRUE(devhost::ActivateView("Schematic"));
    devhost::ArmFault("qxloader::Loader::LoadModule", {devhost::FaultKind::Fail, ""});
    session->Module().ZoomToSelected(2);
    EXPECT_EQ(HostCalls("Schematic"), Calls{});
    EXPECT_EQ(ModuleCalls(), Calls{});
}

TEST_F(Zoom, ViewWithoutWorkflowManagerGetsNoWorkflowMessage) {
    for (const char* view : {"Main", "Board layout", "Cable routing"}) {
        ASSERT_TRUE(devhost::ActivateView(view));
        devhost::ArmFault("qxk::View::GetWorkflowManager", {devhost::FaultKind::Fail, ""});
        session->Module().ZoomToAll(0);
        session->Module().ZoomToSelected(0);
        devhost::DisarmAllFaults();
        EXPECT_EQ(HostCalls(view), Calls{}) << view;
    }
}

}  // namespace
}  // namespace cmdtest
