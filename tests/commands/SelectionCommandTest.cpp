// GetCurrentSelection through the plug-in: the hand-built selection text,
// byte for byte, and the cases that give a null Symbol.
#include <gtest/gtest.h>

#include "HostCalls.h"
#include "PluginSession.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldControl.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace {

using SelectionCommand = support::PluginTest;

TEST_F(SelectionCommand, SampleWorldSelectionIsWrittenAsItStandsWithItsQuotesUnescaped) {
    Start("");
    const du::Symbol document = session->Module().GetCurrentSelection();

    const std::string expected =
        "{\n\"selectionList\": \n{\n\"selections\":\n[\n"
        "{ \"contentType\":\"objectselectionitem\",\n\"fieldNames\":\n[\n"
        "{ \n\"key\": \"instance\", \"value\": \"drone/frame/arm_1\"}\n,\n"
        "{ \n\"key\": \"sbomIdPath\", \"value\": \"drone/frame/arm_1\"}\n,\n"
        "{ \n\"key\": \"pick_point\", \"value\": \"112.5 40.0 3.2\"}\n]\n}\n,\n"
        "{ \"contentType\":\"geometryselectionitem\",\n\"fieldNames\":\n[\n"
        "{ \n\"key\": \"parent_instance\", \"value\": \"drone/propulsion/prop_1\"}\n,\n"
        "{ \n\"key\": \"geom_id\", \"value\": \"note_pitch\"}\n,\n"
        "{ \n\"key\": \"geom_aeid\", \"value\": \"\"}\n,\n"
        "{ \n\"key\": \"pick_point\", \"value\": \"0 0 12\"}\n]\n}\n,\n"
        "{ \"contentType\":\"groupselectionitem\",\n\"fieldNames\":\n[\n"
        "{ \n\"key\": \"groupname\", \"value\": \"Arms \"front\" and \"rear\"\"}\n]\n}\n"
        "]\n}\n}\n";
    EXPECT_EQ(expected, document.str());
    EXPECT_EQ(std::vector<std::string>{"0|jsonSelection: " + expected}, cmdtest::CommandTraces());
}

TEST_F(SelectionCommand, AnItemWithoutFieldsClosesAListItNeverOpenedAndNullRepresentationsTakeNoPlace) {
    support::WorldFile world(ctest::SmallWorld(R"(, "selection": [ { "scene": "Model", "items": [
        { "representation": false },
        { "contentType": "objectselectionitem", "fields": { "instance": "car/body", "pick_point": "1 2 3" },
          "failingFields": [ "pick_point" ] },
        { "representation": false },
        { "contentType": "groupselectionitem" } ] } ])"));
    Start();
    EXPECT_EQ(
        "{\n\"selectionList\": \n{\n\"selections\":\n[\n"
        "{ \"contentType\":\"objectselectionitem\",\n\"fieldNames\":\n[\n"
        "{ \n\"key\": \"instance\", \"value\": \"car/body\"}\n,\n"
        "{ \n\"key\": \"pick_point\", \"value\": \"\"}\n]\n}\n,\n"
        "{ \"contentType\":\"groupselectionitem\"]\n}\n"
        "]\n}\n}\n",
        session->Module().GetCurrentSelection().str());
}

TEST_F(SelectionCommand, NothingToReportIsANullSymbolWithoutATrace) {
    Start("");

    // Only items without a representation.
    ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{false, {}, {}, {}}}));
    EXPECT_TRUE(session->Module().GetCurrentSelection().IsNull());
    // Nothing selected.
    ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {}));
    EXPECT_TRUE(session->Module().GetCurrentSelection().IsNull());
    // A selection that cannot be read.
    ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{true, "groupselectionitem", {}, {}}}));
    devhost::ArmFault("qxk::SelectionManager::GetSelectedItems", {devhost::FaultKind::Fail, ""});
    EXPECT_TRUE(session->Module().GetCurrentSelection().IsNull());
    devhost::DisarmAllFaults();
    EXPECT_EQ("{\n\"selectionList\": \n{\n\"selections\":\n[\n{ \"contentType\":\"groupselectionitem\"]\n}\n]\n}\n}\n",
              session->Module().GetCurrentSelection().str());
    // No active view.
    qxkapp::QxkApp::Get()->GetSceneManager()->SetActiveView(nullptr, false);
    EXPECT_TRUE(session->Module().GetCurrentSelection().IsNull());

    EXPECT_EQ(1u, cmdtest::CommandTraces().size());
}

}  // namespace
