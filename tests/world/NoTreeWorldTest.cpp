#include <gtest/gtest.h>

#include "TestWorlds.h"
#include "WorldTestSupport.h"
#include "guitree/GuiTree.h"
#include "guitree/StructureTreeState.h"
#include "qxk/MultiRootContainer.h"
#include "qxk/Structure.h"
#include "qxk/World.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace {

std::string LoadError(const std::string& text) {
    try {
        devhost::LoadWorldText(text, "w.json");
    } catch (const devhost::WorldFileError& e) {
        return e.what();
    }
    return "loaded";
}

TEST(NoTreeWorld, AFileCanAskForAWorldWithNoTree) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(R"({"tree": false, "actorName": "bare",
        "scenes": [{"name": "s", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})"));
    auto world = qxk::World::GetWorld();
    ASSERT_TRUE(world);
    EXPECT_EQ(world->GetActorName(), "bare");
    EXPECT_FALSE(world->tree);
    du::SmartPtr<qxk::Structure> primary;
    EXPECT_FALSE(world->rootContainer->GetPrimaryStructure(primary));
    EXPECT_TRUE(qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView()) << "scenes and views are there as usual";

    EXPECT_EQ(LoadError(R"({"tree": false, "structure": [{"name": "a"}]})"),
              "w.json: at /structure: a world with no tree has no instances");
    EXPECT_EQ(LoadError(R"({"tree": "no", "structure": []})"), "w.json: at /tree: expected true or false");
    EXPECT_EQ(LoadError(R"({"tree": true})"), "w.json: at the top: \"structure\" is missing");
}

TEST(NoTreeWorld, AWorldCanLoseItsTreeAndKeepItsScenes) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));
    auto view = qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView();
    wtest::Owner owner;
    wtest::RecordingGui gui;
    du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(owner.object));
    tree->SetTreeState(new guitree::StructureTreeState(*tree, true));
    tree->SetGuiInterface(&gui);
    tree->Initialise(qxk::World::GetWorld());
    owner.Sync();
    gui.Clear();

    auto bare = devhost::UseWorldWithoutTree();
    owner.Sync();
    EXPECT_EQ(gui.Names(), std::vector<std::string>{"ClearTree"});
    auto world = qxk::World::GetWorld();
    EXPECT_EQ(world, du::SmartPtr<qxk::World>(bare));
    EXPECT_FALSE(world->tree);
    EXPECT_EQ(world->GetActorName(), "small");
    EXPECT_EQ(qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView(), view);

    // A tree model on it has nothing to tell and no tree to give.
    wtest::RecordingGui second;
    du::SmartPtr<guitree::GuiTree> other(new guitree::GuiTree(owner.object));
    other->SetGuiInterface(&second);
    other->Initialise(world);
    owner.Sync();
    EXPECT_FALSE(other->GetBaseTree());
    EXPECT_EQ(second.Names(), (std::vector<std::string>{"StartTreeUpdate", "FinishTreeUpdate"}));
    EXPECT_FALSE(devhost::AddInstanceAt("", "late")) << "nothing can join a tree that is not there";
    other->Close();
    tree->Close();
    other->SetGuiInterface(nullptr);
    tree->SetGuiInterface(nullptr);
}

}  // namespace
