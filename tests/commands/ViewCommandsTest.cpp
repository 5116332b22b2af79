// Connection navigation, profiles and cross selection through the module's
// remote interface, on the sample world.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostCalls.h"
#include "PluginSession.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldControl.h"
#include "qxk/Scene.h"

namespace cmdtest {
namespace {

using Calls = std::vector<std::string>;

constexpr const char kSchematicProfiles[] = "{\"profiles\":[\"Default\",\"Power\",\"Signals\"],\"current\":\"Default\"}";
constexpr const char kIllustrateProfiles[] =
    "{\"profiles\":[\"Default\",\"Service\",\"Marketing\"],\"current\":\"Default\"}";

using ViewCommands = support::SampleWorldTest;

// Each call is one message to "graphicalnav", whatever the kind of view;
// the spellings on the wire are kept.
TEST_F(ViewCommands, NavigationSendsOneMessageEach) {
    for (const char* view : {"Main", "Wiring"}) {
        ASSERT_TRUE(devhost::ActivateView(view));
        session->Module().ToggleConnectionPath();
        session->Module().NavigateConnection();
        session->Module().ReverseNavigateConection();
        EXPECT_EQ(HostCalls(view), (Calls{"graphicalnav:direction:0:null", "graphicalnav:navigate_connection:0:null",
                                          "graphicalnav:reverse_direction:0:null"}))
            << view;
    }
}

TEST_F(ViewCommands, NavigationWithoutViewOrWorkflowsSendsNothing) {
    ASSERT_TRUE(devhost::ActivateView(""));
    session->Module().NavigateConnection();
    ASSERT_TRUE(devhost::ActivateView("Main"));
    devhost::ArmFault("qxk::View::GetWorkflowManager", {devhost::FaultKind::Fail, ""});
    session->Module().ToggleConnectionPath();
    devhost::DisarmAllFaults();
    EXPECT_EQ(HostCalls("Main"), Calls{});
}

TEST_F(ViewCommands, ProfilesComeFromTheModuleThatServesTheView) {
    ASSERT_TRUE(devhost::ActivateView("Schematic"));
    EXPECT_EQ(session->Module().GetProfiles(), kSchematicProfiles);
    session->Module().SetProfile(du::Symbol("Power"));
    session->Module().ResetToDefaultProfile();
    ASSERT_TRUE(devhost::ActivateView("Service illustration"));
    EXPECT_EQ(session->Module().GetProfiles(), kIllustrateProfiles);
    session->Module().SetProfile(du::Symbol("Service"));
    // Of 0x66 and 0x4b: the schematic module answers first.
    ASSERT_TRUE(devhost::ActivateView("Harness sheet"));
    EXPECT_EQ(session->Module().GetProfiles(), kSchematicProfiles);
    ASSERT_TRUE(devhost::ActivateView("Board layout"));
    session->Module().ResetToDefaultProfile();
    EXPECT_EQ(ModuleCalls(),
              (Calls{std::string("schematic.GetProfiles:Schematic:") + kSchematicProfiles,
                     "schematic.SetProfile:Schematic:Power", "schematic.ResetToDefaultProfile:Schematic",
                     std::string("illustrate.GetProfiles:Service illustration:") + kIllustrateProfiles,
                     "illustrate.SetProfile:Service illustration:Service",
                     std::string("schematic.GetProfiles:Harness sheet:") + kSchematicProfiles,
                     "schematic.ResetToDefaultProfile:Board layout"}));
}

// A view without profiles, no view, and a module that does not load all
// look alike to the client: a null text and nothing called.
TEST_F(ViewCommands, NoProfilesGiveANullText) {
    for (const char* view : {"Main", "Exploded", "Web harness"}) {
        ASSERT_TRUE(devhost::ActivateView(view));
        EXPECT_TRUE(session->Module().GetProfiles().IsNull()) << view;
        session->Module().SetProfile(du::Symbol("Default"));
    }
    ASSERT_TRUE(devhost::ActivateView(""));
    EXPECT_TRUE(session->Module().GetProfiles().IsNull());
    session->Module().ResetToDefaultProfile();
    ASSERT_TRUE(devhost::ActivateView("Schematic"));
    devhost::ArmFault("qxloader::Loader::LoadModule", {devhost::FaultKind::Fail, ""});
    EXPECT_TRUE(session->Module().GetProfiles().IsNull());
    devhost::DisarmAllFaults();
    devhost::CurrentContent()->SetLoaderPresent(false);
    EXPECT_TRUE(session->Module().GetProfiles().IsNull());
    session->Module().SetProfile(du::Symbol("Power"));
    EXPECT_EQ(ModuleCalls(), Calls{});
}

class CrossSelection : public ViewCommands {
protected:
    static unsigned int Clears(const char* scene) {
        return devhost::SelectionOf(*devhost::FindSceneNamed(scene))->ClearCount();
    }
    static std::size_t Selected(const char* scene) {
        return devhost::SelectionOf(*devhost::FindSceneNamed(scene))->GetSelection(0).size();
    }
};

// Switching on empties every selection, each time; no view leads.
TEST_F(CrossSelection, OnClearsEverySceneEachTime) {
    ASSERT_EQ(Selected("Model"), 4u);
    session->Module().SetCrossSelection(true);
    EXPECT_EQ(Selected("Model"), 0u);
    devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{}});
    session->Module().SetCrossSelection(true);
    EXPECT_EQ(Selected("Model"), 0u);
    for (const char* scene : {"Model", "Documents", "Detail"}) EXPECT_EQ(Clears(scene), 2u) << scene;
    const devhost::CrossSelectionRecord record = devhost::CrossSelection();
    EXPECT_TRUE(record.on);
    EXPECT_FALSE(record.lead);
    EXPECT_EQ(record.enables, 2u);
    EXPECT_EQ(record.disables, 0u);
}

TEST_F(CrossSelection, OffKeepsTheSelections) {
    session->Module().SetCrossSelection(true);
    devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{}});
    session->Module().SetCrossSelection(false);
    session->Module().SetCrossSelection(false);
    EXPECT_EQ(Selected("Model"), 1u);
    EXPECT_EQ(Clears("Model"), 1u);
    const devhost::CrossSelectionRecord record = devhost::CrossSelection();
    EXPECT_FALSE(record.on);
    EXPECT_EQ(record.enables, 1u);
    EXPECT_EQ(record.disables, 2u);
}

// A scene whose selection manager cannot be had is passed over; the scenes
// after it are still cleared.
TEST_F(CrossSelection, SceneWithoutSelectionManagerIsPassedOver) {
    devhost::ArmFault("qxk::Scene::GetSelectionManager", {devhost::FaultKind::Fail, "", 1, 1});
    session->Module().SetCrossSelection(true);
    devhost::DisarmAllFaults();
    EXPECT_EQ(Clears("Model"), 1u);
    EXPECT_EQ(Clears("Documents"), 0u);
    EXPECT_EQ(Clears("Detail"), 1u);
}

TEST_F(CrossSelection, WithoutSceneManagerNothingIsSwitched) {
    devhost::ArmFault("qxkapp::QxkApp::GetSceneManager", {devhost::FaultKind::Fail, ""});
    session->Module().SetCrossSelection(true);
    session->Module().SetCrossSelection(false);
    devhost::DisarmAllFaults();
    const devhost::CrossSelectionRecord record = devhost::CrossSelection();
    EXPECT_EQ(record.enables + record.disables, 0u);
    EXPECT_EQ(Clears("Model"), 0u);
}

}  // namespace
}  // namespace cmdtest
