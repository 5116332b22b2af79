// Selections of scenes and the application's selection observer.

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "TestWorlds.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldControl.h"
#include "qxk/Selection.h"
#include "qxkapp/PSBSelectionObserver.h"
#include "qxkapp/QxkApp.h"

namespace {

class Selection : public ::testing::Test {
protected:
    void SetUp() override {
        devhost::FindSceneNamed("Model")->GetSelectionManager(manager);
        ASSERT_TRUE(manager);
    }

    support::CleanProcess clean;
    support::WorldFile file{ctest::SmallWorld(R"(, "selection": [ { "scene": "Model", "items": [
            { "contentType": "objectselectionitem", "fields": { "instance": "car/body", "pick_point": "1 2 3" } },
            { "contentType": "groupselectionitem", "fields": { "groupname": "Wheels" } } ] } ])")};
    du::SmartPtr<qxk::SelectionManager> manager;
};

}  // namespace

TEST_F(Selection, ItemsComeInOrderAndCanBeFilteredByContentType) {
    std::vector<du::SmartPtr<qxk::SelectionItem>> items;
    ASSERT_TRUE(manager->GetSelectedItems(0, du::Symbol::EMPTY, items, qxk::ExpandAsSelected));
    ASSERT_EQ(2u, items.size());
    items.clear();
    ASSERT_TRUE(manager->GetSelectedItems(0, "groupselectionitem", items, qxk::ExpandAsSelected));
    ASSERT_EQ(1u, items.size());
    std::string name;
    EXPECT_TRUE(items[0]->GetRepresentation()->GetField("groupname", name));
    EXPECT_EQ("Wheels", name);
    items.clear();
    EXPECT_TRUE(manager->GetSelectedItems(3, du::Symbol::EMPTY, items, qxk::ExpandAsSelected));
    EXPECT_TRUE(items.empty());
}

TEST_F(Selection, AFaultMakesReadingTheSelectionFail) {
    devhost::ArmFault("qxk::SelectionManager::GetSelectedItems", {devhost::FaultKind::Fail, "", 1});
    std::vector<du::SmartPtr<qxk::SelectionItem>> items;
    EXPECT_FALSE(manager->GetSelectedItems(0, du::Symbol::EMPTY, items, qxk::ExpandAsSelected));
    devhost::ArmFault("qxk::Scene::GetSelectionManager", {devhost::FaultKind::Fail, "", 1});
    du::SmartPtr<qxk::SelectionManager> none;
    devhost::FindSceneNamed("Model")->GetSelectionManager(none);
    EXPECT_FALSE(none);
}

TEST_F(Selection, ObserversHearOfChangesOnTheirActorAndThePluginOfNonEmptyOnes) {
    ctest::Actor actor;
    auto plugin = devhost::CurrentContent()->GetPlugin();
    du::SmartPtr<qxkapp::PSBSelectionObserver> observer(
        new qxkapp::PSBSelectionObserver(qxkapp::QxkApp::Get()->GetPluginIf(), false));
    actor.Manage(observer);
    actor.Run([&] { EXPECT_TRUE(manager->RegisterObserver(0, *observer)); });

    auto* own = static_cast<devhost::SelectionManager*>(manager.get());
    EXPECT_FALSE(devhost::SetSceneSelection("Elsewhere", 0, {}));
    ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{true, "objectselectionitem", {}, {}}}));
    manager->Clear();  // leaves the selection empty: not passed on
    ASSERT_TRUE(actor.SettleUntil([&] { return !plugin->SelectionChanges().empty(); }));
    actor.SettleUntil([] { return false; });
    EXPECT_EQ(1u, plugin->SelectionChanges().size());
    EXPECT_EQ(1u, own->ClearCount());
    EXPECT_EQ(1u, own->ObserverCount());
    EXPECT_TRUE(own->GetSelection(0).empty());
}
