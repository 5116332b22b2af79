// Annotation sets through the scene manager, the plug-in link, the
// workflow observer and labels.

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "TestWorlds.h"
#include "WorldFile.h"
#include "devhost/content/MemoryPool.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/WorldControl.h"
#include "qxannotations/Label.h"
#include "qxk/AnnoSetTable.h"
#include "qxk/WorkflowManager.h"
#include "qxk/World.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneLoadedEvent.h"
#include "qxkapp/SceneManager.h"
#include "qxkapp/ViewerWorkflowManagerObserverImpl.h"

namespace {

class AppliedEvent : public qxkapp::SceneLoadedEvent {
public:
    const char* GetEventName() const override { return "AppliedEvent"; }
    void OnComplete(int completion) override {
        status = completion;
        thread = std::this_thread::get_id();
        if (auto plugin = qxkapp::QxkApp::Get()->GetPluginIf()) plugin->OnAnnotationsApplied(completion == 0);
    }
    std::atomic<int> status{-1};
    std::thread::id thread;
};

class AnnotationSets : public ::testing::Test {
protected:
    du::SmartPtr<qxk::AnnoSetTableEntry> Entry(const char* name) {
        du::SmartPtr<qxk::AnnoSetTableEntry> entry;
        EXPECT_TRUE(world->GetAnnoSetTable()->GetAnnotationEntry(name, qxk::AnnoSetContentAll, entry));
        return entry;
    }

    support::CleanProcess clean;
    support::WorldFile file{ctest::SmallWorld(R"(, "annotationSets": [
            { "name": "Model", "propName": "model" },
            { "name": "Steps", "propName": "illustration", "contentType": 2, "scene": "illustration3d" },
            { "name": "Sheet", "scene": "plain" },
            { "name": "Broken", "applyFails": true } ])")};
    const du::SmartPtr<devhost::WorldModel> world = file.World();
    const du::SmartPtr<qxkapp::SceneManager> manager = qxkapp::QxkApp::Get()->GetSceneManager();
};

}  // namespace

TEST_F(AnnotationSets, TheTableListsEntriesByContentTypeAndFindsThemByName) {
    std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>> entries;
    world->GetAnnoSetTable()->GetEntries(entries, qxk::AnnoSetContentAll);
    ASSERT_EQ(4u, entries.size());
    EXPECT_EQ("Steps", entries[1]->GetName().str());
    entries.clear();
    world->GetAnnoSetTable()->GetEntries(entries, qxk::AnnoSetContentIllustration);
    ASSERT_EQ(1u, entries.size());
    du::SmartPtr<qxk::AnnoSetTableEntry> entry;
    EXPECT_FALSE(world->GetAnnoSetTable()->GetAnnotationEntry("Nope", qxk::AnnoSetContentAll, entry));
}

TEST_F(AnnotationSets, RebuildingMakesTheSceneAndViewKindOfTheSet) {
    manager->RemoveAllViews(nullptr);
    manager->RemoveAllScenes();
    EXPECT_TRUE(manager->GetScenes().empty());
    EXPECT_FALSE(manager->GetActiveView());

    auto illustration = manager->CreateScene(Entry("Steps"), world->tree);
    EXPECT_TRUE(du::DynamicCast<qxk::illustration::Illustration3dScene>(illustration));
    auto view = manager->CreateView(illustration, world->window);
    EXPECT_EQ(0x34u, view->GetClassNumber());
    auto plain = manager->CreateScene(Entry("Sheet"), world->tree);
    EXPECT_FALSE(plain->IsATypeOf(qxk::ShapeScene::CLASS_TYPE));
    auto shape = manager->CreateScene(Entry("Model"), world->tree);
    EXPECT_TRUE(shape->IsATypeOf(qxk::ShapeScene::CLASS_TYPE));
    EXPECT_EQ(3u, manager->GetScenes().size());
    EXPECT_TRUE(manager->SetActiveView(view, false));
}

TEST_F(AnnotationSets, ApplyingCompletesTheEventLaterOnItsActorAndTellsThePlugin) {
    ctest::Actor actor;
    auto scene = devhost::FindSceneNamed("Model");
    du::SmartPtr<AppliedEvent> good(new AppliedEvent), bad(new AppliedEvent);
    actor.Manage(good);
    actor.Manage(bad);
    actor.Run([&] {
        manager->SetAnnotationSetTable(world->GetAnnoSetTable());
        manager->ApplyAnnotations(scene, Entry("Model"), world->tree, good.get(), 0xbfff, false);
        manager->ApplyAnnotations(scene, Entry("Broken"), world->tree, bad.get(), 0xbfff, false);
        EXPECT_EQ(-1, good->status);  // not inside the call
    });
    ASSERT_TRUE(actor.SettleUntil([&] { return good->status >= 0 && bad->status >= 0; }));
    EXPECT_EQ(0, good->status);
    EXPECT_NE(0, bad->status);
    EXPECT_EQ(actor.ThreadId(), good->thread);
    auto content = devhost::CurrentContent();
    EXPECT_EQ((std::vector<bool>{true, false}), content->GetPlugin()->AnnotationsApplied());
    auto applied = content->AppliedSets();
    ASSERT_EQ(2u, applied.size());
    EXPECT_EQ(0xbfffu, applied[0].mask);
    EXPECT_EQ("AppliedEvent", applied[0].eventName);
    EXPECT_EQ("Broken", applied[1].name.str());
    EXPECT_EQ(world->GetAnnoSetTable(), content->SceneManagerTable());
}

TEST_F(AnnotationSets, TheWorkflowObserverHearsBothSidesOfAView) {
    du::SmartPtr<qxkapp::ViewerWorkflowManagerObserverImpl> observer(new qxkapp::ViewerWorkflowManagerObserverImpl);
    auto view = manager->GetActiveView();
    du::SmartPtr<qxk::WorkflowManager> workflows;
    view->GetWorkflowManager(workflows);
    ASSERT_TRUE(workflows);
    workflows->AddViewerObserver(observer);
    workflows->AddWorkflowObserver(observer);
    workflows->SendWorkflowMessage("graphicalnav", "direction", 0, nullptr);
    ctest::Actor settle;
    settle.SettleUntil([&] { return devhost::CurrentContent()->WorkflowObservations().size() >= 2; });
    auto seen = devhost::CurrentContent()->WorkflowObservations();
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ("direction", seen[0].message.str());
}

TEST_F(AnnotationSets, LabelsLiveInTheMemoryPoolAndTheSceneKeepsThemOnceAttached) {
    const auto before = devhost::GetMemoryPoolStats();
    auto scene = devhost::FindSceneNamed("Model");
    {
        qxannotations::LabelInfo info;
        info.x = 1.5;
        info.y = -2;
        info.z = 1e9;
        info.textRows = {{0, "Check torque"}};
        du::SmartPtr<qxannotations::Label> label(new qxannotations::Label(info));
        EXPECT_EQ(before.liveBlocks + 1, devhost::GetMemoryPoolStats().liveBlocks);
        label->AttachToScene(scene);
    }
    auto labels = devhost::LabelsOf(*scene);
    ASSERT_EQ(1u, labels.size());
    EXPECT_EQ(1e9, labels[0]->GetInfo().z);
    EXPECT_EQ("Check torque", labels[0]->GetInfo().textRows[0].text);
    EXPECT_EQ(before.liveBlocks + 1, devhost::GetMemoryPoolStats().liveBlocks);

    devhost::ArmFault("qxk::MemoryPoolAllocated::operator new", {devhost::FaultKind::Fail, "", 1});
    EXPECT_THROW(new qxannotations::Label(qxannotations::LabelInfo()), std::bad_alloc);
}
