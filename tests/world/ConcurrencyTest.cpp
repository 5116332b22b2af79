#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "TestWorlds.h"
#include "WorldTestSupport.h"
#include "devhost/platform/ActorTasks.h"
#include "guitree/GuiTree.h"
#include "guitree/StructureTreeState.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/IdMap.h"
#include "qxk/Instance.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

const char* kWorld = R"({
  "structure": [{"name": "a", "children": [{"name": "p1"}, {"name": "p2"}]}],
  "scenes": [{"name": "left", "shapes": ["a", "a/p1"], "views": [{"name": "l", "kind": "shape"}]}],
  "activeView": "l"
})";

class Counter : public qxk::BaseInstanceVisitor {
public:
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int) override {
        ++count;
        return !instance->GetIdPath().empty();
    }
    int count = 0;
};

// The module walks and asks on its actor while the host changes the world
// from another thread; the sanitizers judge the locking.
TEST(Concurrency, TheHostChangesTheWorldWhileTheActorWalksAndAsks) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(kWorld));
    wtest::Owner owner;
    wtest::RecordingGui gui;
    du::SmartPtr<guitree::GuiTree> tree(new guitree::GuiTree(owner.object));
    tree->SetTreeState(new guitree::StructureTreeState(*tree, true));
    tree->SetGuiInterface(&gui);
    tree->Initialise(qxk::World::GetWorld());

    const int rounds = 100;
    std::atomic<bool> done{false};
    std::thread host([&] {
        for (int i = 0; i < rounds; ++i) {
            devhost::AddInstanceAt("a", "n" + std::to_string(i));
            devhost::ShowInstance("left", "a/n" + std::to_string(i), i % 2 == 0);
            devhost::ShowInstance("left", "a/p1", i % 3 == 0);
            if (i > 0) devhost::RemoveInstanceAt("a/n" + std::to_string(i - 1));
        }
        done = true;
    });
    int walks = 0;
    do {
        std::promise<void> walked;
        devhost::PostTask(owner.object, [&] {
            auto world = qxk::World::GetWorld();
            Counter counter;
            world->tree->Visit(counter, qxk::BaseTree::VT_DepthFirst);
            for (const char* path : {"a", "a/p1", "a/n5"})
                if (auto instance = world->tree->FindInstance(path))
                    tree->GetTreeState()->GetVisibilityState(instance);
            walked.set_value();
        });
        walked.get_future().wait();
        ++walks;
    } while (!done);
    host.join();
    owner.Sync();
    tree->Close();
    tree->SetGuiInterface(nullptr);

    int created = 0;
    int removed = 0;
    for (const auto& call : gui.Calls()) {
        EXPECT_EQ(call.thread, owner.ThreadId());
        if (call.path.rfind("a/n", 0) != 0) continue;
        created += call.what == "InstanceCreate";
        removed += call.what == "InstanceRemove";
    }
    EXPECT_EQ(created, rounds);
    EXPECT_EQ(removed, rounds - 1);
    EXPECT_GT(walks, 0);
}

TEST(Concurrency, AReadOfAWorldThatWentIsForgotten) {
    wtest::CleanWorld clean;
    ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));
    auto pn = qxk::World::GetWorld()->tree->FindInstance("a/pn");
    pn->ExpandProxy(1, nullptr, du::SmartPtr<qxk::IdMap>(), du::SmartPtr<qxk::IdMap>(), nullptr, false, false);
    EXPECT_EQ(devhost::PendingExpansions(), (std::vector<std::string>{"a/pn"}));
    devhost::DropApplication();
    devhost::DropWorld();
    ASSERT_TRUE(wtest::Load(wtest::kSmallWorld));
    EXPECT_TRUE(devhost::PendingExpansions().empty());
    EXPECT_FALSE(devhost::ResolvePendingExpansion("a/pn", true));
    EXPECT_TRUE(qxk::World::GetWorld()->tree->FindInstance("a/pn")->IsExpandableProxy());
}

}  // namespace
