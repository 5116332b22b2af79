#include <gtest/gtest.h>

#include "TestWorlds.h"
#include "WorldTestSupport.h"
#include "devhost/platform/Faults.h"
#include "qxk/AsyncEvent.h"
#include "qxk/IdMap.h"
#include "qxk/Instance.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

class ExpandEvent : public qxk::AsyncEvent {
public:
    ExpandEvent() : qxk::BaseAsyncEvent(true) {}
    void OnComplete(int status) override {
        statuses.push_back(status);
        thread = std::this_thread::get_id();
    }
    std::vector<int> statuses;
    std::thread::id thread;
};

class Proxies : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(wtest::Load(wtest::kSmallWorld)); }

    du::SmartPtr<qxk::Instance> Find(const char* path) { return qxk::World::GetWorld()->tree->FindInstance(path); }

    // Starts a read the way the module does, with the event under the owner.
    du::SmartPtr<ExpandEvent> Expand(const char* path, int depth = 1, bool* started = nullptr) {
        du::SmartPtr<ExpandEvent> event(new ExpandEvent());
        owner.object->ManageObject(event);
        bool result = Find(path)->ExpandProxy(depth, event.get(), du::SmartPtr<qxk::IdMap>(),
                                              du::SmartPtr<qxk::IdMap>(), nullptr, false, false);
        if (started) *started = result;
        return event;
    }

    wtest::CleanWorld clean;
    wtest::Owner owner;
};

TEST_F(Proxies, ASuccessfulReadBringsTheBranchAndCompletesWithZeroOnTheOwnersThread) {
    auto px = Find("a/px");
    EXPECT_TRUE(px->IsProxy());
    EXPECT_TRUE(px->IsExpandableProxy());
    EXPECT_FALSE(px->IsProxyExpanded());
    bool started = false;
    auto event = Expand("a/px", 1, &started);
    EXPECT_TRUE(started);
    owner.Sync();
    EXPECT_EQ(event->statuses, (std::vector<int>{0}));
    EXPECT_EQ(event->thread, owner.ThreadId());
    EXPECT_TRUE(px->IsProxyExpanded());
    EXPECT_FALSE(px->IsExpandableProxy());
    EXPECT_TRUE(Find("a/px/c1"));
    EXPECT_TRUE(Find("a/px/c2")->IsExpandableProxy()) << "proxies inside wait for their own read";
    EXPECT_FALSE(Find("a/px/c2/d1"));
}

TEST_F(Proxies, AFailedReadMarksTheProxyAndCompletesWithAnError) {
    auto event = Expand("a/pf");
    owner.Sync();
    ASSERT_EQ(event->statuses.size(), 1u);
    EXPECT_NE(event->statuses[0], 0);
    auto pf = Find("a/pf");
    EXPECT_TRUE(pf->HasProxyExpandFailed());
    EXPECT_FALSE(pf->IsExpandableProxy());
    EXPECT_FALSE(Find("a/pf/never"));
    bool started = true;
    auto again = Expand("a/pf", 1, &started);
    owner.Sync();
    EXPECT_FALSE(started);
    ASSERT_EQ(again->statuses.size(), 1u);
    EXPECT_NE(again->statuses[0], 0);
}

// The module waits for the event of every read it starts; a read that
// fails to start must still end it.
TEST_F(Proxies, AReadThatCannotStartStillCompletesItsEvent) {
    devhost::ArmFault("qxk::Instance::ExpandProxy", {devhost::FaultKind::Fail, "", 1});
    bool started = true;
    auto event = Expand("a/px", 1, &started);
    owner.Sync();
    EXPECT_FALSE(started);
    ASSERT_EQ(event->statuses.size(), 1u);
    EXPECT_NE(event->statuses[0], 0);
    EXPECT_TRUE(Find("a/px")->IsExpandableProxy()) << "nothing was read";
}

TEST_F(Proxies, AReadThatNeverAnswersStaysPendingUntilResolved) {
    auto event = Expand("a/pn");
    auto second = Expand("a/pn");
    owner.Sync();
    EXPECT_TRUE(event->statuses.empty());
    EXPECT_EQ(devhost::PendingExpansions(), (std::vector<std::string>{"a/pn"}));
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 0) << "never-answering reads are not released";
    EXPECT_TRUE(devhost::ResolvePendingExpansion("a/pn", true));
    owner.Sync();
    EXPECT_EQ(event->statuses, (std::vector<int>{0}));
    EXPECT_EQ(second->statuses, (std::vector<int>{0})) << "both waiters of one read complete";
    EXPECT_TRUE(Find("a/pn/n1"));
    EXPECT_FALSE(devhost::ResolvePendingExpansion("a/pn", true));
}

TEST_F(Proxies, AManualReadWaitsForReleaseAndDepthReadsNestedProxies) {
    auto manual = Expand("a/pm");
    auto deep = Expand("a/px", 2);
    owner.Sync();
    EXPECT_TRUE(manual->statuses.empty());
    EXPECT_TRUE(deep->statuses.empty()) << "the nested proxy c2 is manual";
    EXPECT_TRUE(Find("a/px/c1"));
    EXPECT_EQ(devhost::ReleasePendingExpansions(), 2);
    owner.Sync();
    EXPECT_EQ(manual->statuses, (std::vector<int>{0}));
    EXPECT_EQ(deep->statuses, (std::vector<int>{0}));
    EXPECT_TRUE(Find("a/pm/m1"));
    EXPECT_TRUE(Find("a/px/c2/d1"));
}

TEST_F(Proxies, ReadingFromAnAncestorReadsItsTopProxiesAndNothingToReadIsAnError) {
    bool started = true;
    auto nothing = Expand("a/sub", 1, &started);
    owner.Sync();
    EXPECT_FALSE(started);
    ASSERT_EQ(nothing->statuses.size(), 1u);
    EXPECT_NE(nothing->statuses[0], 0);

    auto all = Expand("a");
    owner.Sync();
    EXPECT_TRUE(Find("a/px/c1"));
    EXPECT_TRUE(Find("a/pf")->HasProxyExpandFailed());
    EXPECT_TRUE(all->statuses.empty()) << "a/pn never answers and a/pm waits";
    devhost::ReleasePendingExpansions();
    devhost::ResolvePendingExpansion("a/pn", true);
    owner.Sync();
    ASSERT_EQ(all->statuses.size(), 1u);
    EXPECT_NE(all->statuses[0], 0) << "one of the reads failed";
}

}  // namespace
