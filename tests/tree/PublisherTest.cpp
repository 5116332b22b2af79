// webapi::GuiInterface driven directly, as the host's tree model drives it,
// with an observer that records what it is told.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CleanProcess.h"
#include "RecordingTreeObserver.h"
#include "devhost/world/WorldControl.h"
#include "guitree/VisAndIconChanges.h"
#include "publisher/GuiInterface.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "tree/GuiTreeWatcher.h"

namespace {

using tree_tests::Anchor;
using tree_tests::RecordingObserver;

const char* kWorld = R"({"structure": [{"name": "a", "uid": 1, "children": [{"name": "b", "uid": 2},
    {"name": "c", "uid": 3}]}],
    "scenes": [{"name": "s", "shapes": ["a", {"instance": "a/b", "visible": false}],
                "views": [{"name": "v", "kind": "shape"}]}],
    "activeView": "v"})";

// A watcher whose owner is under no actor, so that its tree model tells it
// everything on this thread, and a second interface of the test's own.
class Publisher : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(support::LoadWorld(kWorld));
        scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("s"));
        watcherObserver = new RecordingObserver();
        watcher = std::make_unique<GuiTreeWatcher>(du::SmartPtr<dom::ManagedObject>(new Anchor()),
                                                   du::SmartPtr<webapi::TreeObserver>(watcherObserver), scene);
        observer = new RecordingObserver();
        tree = new guitree::GuiTree(nullptr);
        gui = std::make_unique<webapi::GuiInterface>(watcher.get(), du::SmartPtr<webapi::TreeObserver>(observer),
                                                     tree, scene);
    }

    du::SmartPtr<qxk::BaseInstance> Find(const char* path) {
        return du::SmartPtr<qxk::BaseInstance>(qxk::World::GetWorld()->tree->FindInstance(path));
    }
    void Create(const char* path) { gui->InstanceCreate(Find(path), nullptr, false); }
    void Remove(const char* path) { gui->InstanceRemove(Find(path), nullptr); }

    support::CleanProcess clean;
    du::SmartPtr<qxk::ShapeScene> scene;
    du::SmartPtr<RecordingObserver> watcherObserver;
    std::unique_ptr<GuiTreeWatcher> watcher;
    du::SmartPtr<RecordingObserver> observer;
    du::SmartPtr<guitree::GuiTree> tree;
    std::unique_ptr<webapi::GuiInterface> gui;
};

TEST_F(Publisher, RemovalsGoOutBeforeAdditionsAndDuplicatesStay) {
    gui->StartTreeUpdate();
    gui->StartTreeUpdate();
    Create("a/b");
    Create("a/c");
    Create("a/c");
    Remove("a/b");
    gui->ClearTree();  // neither flushes nor drops the queues
    gui->FinishTreeUpdate();
    EXPECT_EQ(observer->calls,
              (std::vector<std::string>{
                  "OnTreeUpdateBegin", "OnTreeUpdate {\n\n\"clearTree\":\"true\"}\n", "OnTreeUpdateEnd",
                  "OnTreeMappingBegin", R"(OnTreeMapping {"treeRemove":[{"id":"2","idpath":"a/b"}]})",
                  "OnTreeMappingEnd", "OnTreeMappingBegin",
                  R"(OnTreeMapping {"treeMapping":[{"id":"2","idpath":"a/b"},{"id":"3","idpath":"a/c"},)"
                  R"({"id":"3","idpath":"a/c"}]})",
                  "OnTreeMappingEnd"}));
    observer->calls.clear();
    gui->FinishTreeUpdate();
    EXPECT_TRUE(observer->calls.empty()) << "a second finish has nothing to publish";

    // b was removed after its creation: it is not known, c is, once.
    guitree::VisAndIconChanges changes;
    changes.Set(Find("a/b").get(), 0x35);
    changes.Set(Find("a/c").get(), 0x35);
    changes.Set(Find("a").get(), 0x45);  // never created here
    gui->UpdateVisAndTypeIcons(changes);
    EXPECT_EQ(observer->calls, (std::vector<std::string>{"OnTreeUpdateBegin",
                                                         R"(OnTreeUpdate {"treeUpdate":[{"id":"3","state":"3"}]})",
                                                         "OnTreeUpdateEnd"}));
    Remove("a/c");
    observer->calls.clear();
    gui->UpdateVisAndTypeIconVisibleChanges(nullptr, changes);
    EXPECT_EQ(observer->calls, (std::vector<std::string>{"OnTreeUpdateBegin", "OnTreeUpdateEnd"}))
        << "a removal not yet published already hides the instance";
}

TEST_F(Publisher, LoadedSpeaksOfTheShapeInstanceAndStatesKeepFourBits) {
    Create("a");
    Create("a/b");
    Create("a/c");
    guitree::VisAndIconChanges changes;
    changes.Set(Find("a").get(), 0xf3);
    changes.Set(Find("a/b").get(), 0x02);
    changes.Set(Find("a/c").get(), 0x7f);
    gui->UpdateVisAndTypeIcons(changes);
    ASSERT_EQ(observer->calls.size(), 3u);
    EXPECT_EQ(observer->calls[1], R"(OnTreeUpdate {"treeUpdate":[{"id":"1","state":"15","loaded":"true"},)"
                                  R"({"id":"2","state":"0","loaded":"false"},{"id":"3","state":"7"}]})");

    // With no scene nothing says "loaded".
    webapi::GuiInterface sceneless(watcher.get(), du::SmartPtr<webapi::TreeObserver>(observer), tree, nullptr);
    sceneless.InstanceCreate(Find("a"), nullptr, false);
    observer->calls.clear();
    sceneless.UpdateVisAndTypeIcons(changes);
    ASSERT_EQ(observer->calls.size(), 3u);
    EXPECT_EQ(observer->calls[1], R"(OnTreeUpdate {"treeUpdate":[{"id":"1","state":"15"}]})");
}

TEST_F(Publisher, TheWatchersMapFollowsWhatTheInterfaceHandsIt) {
    // Nothing queued still hands two empty queues on.
    gui->FinishTreeUpdate();
    EXPECT_TRUE(observer->calls.empty());
    // Added and removed in one update: absent afterwards.
    watcher->UpdateInstanceMap({Find("a/b")}, {Find("a/b")});
    watcherObserver->calls.clear();
    watcher->QueryNodeStates(R"({"nodes":["2","3"],"x":0})");
    ASSERT_EQ(watcherObserver->calls.size(), 3u);
    EXPECT_EQ(watcherObserver->calls[1], "OnTreeUpdate {\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"3\",\"state\": \"2\"}\n]\n\n}\n");
}

}  // namespace
